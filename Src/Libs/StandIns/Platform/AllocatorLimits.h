#pragma once

/// Makes the C library return the memory of large replies to the system. By default glibc gives each thread an arena of
/// its own, and raises the size from which blocks are mapped separately to that of the largest one freed: replies of
/// several megabytes then fragment many arenas, and the resident memory grows for hours. Call it before the first
/// thread is started. Does nothing with other C libraries.
void LimitAllocatorArenas();
