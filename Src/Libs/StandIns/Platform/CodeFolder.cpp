#include "Platform/CodeFolder.h"

#if defined(_WIN32)
#include <windows.h>

#include <string>
#else
#include <dlfcn.h>
#endif

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
