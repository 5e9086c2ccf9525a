#pragma once

#include <filesystem>

/// The folder of the library or program that holds the code or data at the address; empty when the system doesn't tell.
std::filesystem::path CodeFolder(const void* address);
