#include "Platform/Files.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#if defined(_WIN32)
void CreatePrivateFiles() {}

std::string MakePrivate(const std::string&)
{
    return {};
}

bool FlushToDisk(int fileDescriptor)
{
    return _commit(fileDescriptor) == 0;
}

void FlushFolderToDisk(const std::string&) {}

int OpenRegularFile(const std::filesystem::path& file)
{
    const int descriptor = _wopen(file.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    struct _stat64 status = {};
    if (descriptor >= 0 && _fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG)
        return descriptor;
    if (descriptor >= 0)
        _close(descriptor);
    return -1;
}
#else
namespace {

constexpr mode_t kOthersRights = S_IRWXG | S_IRWXO;

} // namespace

void CreatePrivateFiles()
{
    umask(kOthersRights);
}

std::string MakePrivate(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return std::system_category().message(errno);
    if (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0)
        return "this folder is shared with other users";
    const mode_t mode = status.st_mode & 07777;
    if ((mode & kOthersRights) == 0 || chmod(path.c_str(), mode & ~kOthersRights) == 0)
        return {};
    return std::system_category().message(errno);
}

bool FlushToDisk(int fileDescriptor)
{
    // EINVAL and ENOTSUP: the file system does not support it, which is not an error of the disk.
    return fsync(fileDescriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
}

void FlushFolderToDisk(const std::string& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

int OpenRegularFile(const std::filesystem::path& file)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status = {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        return descriptor;
    if (descriptor >= 0)
        close(descriptor);
    return -1;
}
#endif
