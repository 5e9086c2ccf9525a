#include "Platform/AllocatorLimits.h"

#include <cstdlib> // defines __GLIBC__

#if defined(__GLIBC__)
#include <malloc.h>

namespace {

/// Two threads seldom wait for one another: a channel runs on one thread unless a request is slow.
constexpr int kMaxArenas = 2;
constexpr int kMapFromBytes = 512 * 1024;

} // namespace

void LimitAllocatorArenas()
{
    mallopt(M_ARENA_MAX, kMaxArenas);
    mallopt(M_MMAP_THRESHOLD, kMapFromBytes);
}
#else
void LimitAllocatorArenas() {}
#endif
