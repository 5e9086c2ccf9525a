#include "Platform/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

int OpenRegularFile(const std::filesystem::path& file)
{
#if defined(_WIN32)
    const int descriptor = _wopen(file.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    struct _stat64 status = {};
    if (descriptor >= 0 && _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG)
        return descriptor;
    if (descriptor >= 0)
        _close(descriptor);
#else
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status = {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        return descriptor;
    if (descriptor >= 0)
        close(descriptor);
#endif
    return -1;
}
