#include "Platform/Process.h"

#include <cstdlib> // defines __GLIBC__
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <sys/resource.h>
#include <unistd.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#if defined(__linux__)
#include <linux/close_range.h>
#endif

void LimitAllocatorArenas()
{
#if defined(__GLIBC__)
    // Two threads seldom wait for one another: a channel runs on one thread unless a request is slow.
    constexpr int kMaxArenas = 2;
    constexpr int kMapFromBytes = 512 * 1024;
    constexpr int kMaxFreeBytes = 4 * kMapFromBytes;
    mallopt(M_ARENA_MAX, kMaxArenas);
    mallopt(M_MMAP_THRESHOLD, kMapFromBytes);
    mallopt(M_TRIM_THRESHOLD, kMaxFreeBytes);
#endif
}

void RaiseDescriptorLimit()
{
#if !defined(_WIN32)
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
#endif
}

void KeepDescriptorsFromChild()
{
    // On other systems children inherit only what is marked as inheritable.
#if defined(CLOSE_RANGE_CLOEXEC)
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
#endif
}

std::filesystem::path CodeFolder(const void* address)
{
#if defined(_WIN32)
    constexpr DWORD kMaxPathLength = 32'768;
    constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE code = nullptr;
    if (!GetModuleHandleExW(kFlags, static_cast<LPCWSTR>(address), &code))
        return {};
    std::wstring file(kMaxPathLength, L'\0');
    file.resize(GetModuleFileNameW(code, file.data(), kMaxPathLength));
    return std::filesystem::path(file).parent_path();
#else
    Dl_info code{};
    if (dladdr(address, &code) == 0 || !code.dli_fname)
        return {};
    // The name is relative if the search path was relative.
    std::error_code error;
    return std::filesystem::absolute(code.dli_fname, error).parent_path();
#endif
}
