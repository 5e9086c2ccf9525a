#pragma once

#include <filesystem>

/// Opens a regular file for reading. Symbolic links are followed. Does not wait: FIFOs, devices and everything else
/// that is not a regular file are refused. The check uses the opened file, so replacing the file at the same time does
/// not bypass it.
/// \return a file descriptor of the C library, which the caller closes; -1 on failure
int OpenRegularFile(const std::filesystem::path& file);
