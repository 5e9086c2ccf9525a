#pragma once

#include <filesystem>

/// Opens a regular file for reading; symbolic links are followed. Does not wait: a FIFO without a writer and a device
/// are refused like everything else that is not a regular file. The check is made on the opened file, so exchanging the
/// file meanwhile does not evade it. \return a file descriptor of the C library, which the caller closes; -1 on failure
int OpenRegularFile(const std::filesystem::path& file);
