#pragma once

#include <filesystem>

/// Returns the absolute path of the folder of the library or program that contains the code or data at the address.
/// Returns an empty path on failure.
std::filesystem::path CodeFolder(const void* address);
