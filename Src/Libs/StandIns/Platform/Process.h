#pragma once

#include <filesystem>

// Limits and properties of the current process.

/// Makes the C library return the memory of large replies to the system. By default glibc gives each thread an arena of
/// its own, and raises the size from which blocks are mapped separately to that of the largest one freed: replies of
/// several megabytes then fragment many arenas, and the resident memory grows for hours. A free block of up to 2 MiB at
/// the end of an arena stays with the process: replies of 100 kB would otherwise cost a page fault for every 4 kB each
/// time. Call it before the first thread is started. Does nothing with other C libraries.
void LimitAllocatorArenas();
/// Raises the limit for open file descriptors (RLIMIT_NOFILE) to the hard limit. Does nothing on Windows and on
/// failure.
void RaiseDescriptorLimit();
/// Marks all open descriptors except the standard streams close-on-exec. To be called in the child between fork and
/// exec.
///
/// Not all descriptors are opened close-on-exec. If the child inherited a socket, a connection that the parent closes
/// would stay open, and a port would stay in use, as long as the child runs.
void KeepDescriptorsFromChild();
/// Returns the absolute path of the folder of the library or program that contains the code or data at the address.
/// Returns an empty path on failure.
std::filesystem::path CodeFolder(const void* address);
