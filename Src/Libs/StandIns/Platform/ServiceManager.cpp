#include "Platform/ServiceManager.h"

#if !defined(_WIN32)
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

#if defined(_WIN32)
void NotifyServiceManager(const std::string&) {}

std::chrono::microseconds WatchdogLimit()
{
    return std::chrono::microseconds(0);
}

bool IsJournal(int)
{
    return false;
}
#else
namespace {

std::string Variable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

void NotifyServiceManager(const std::string& assignment)
{
    const std::string name = Variable("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.empty() || name.size() >= sizeof address.sun_path)
        return;
    std::memcpy(address.sun_path, name.data(), name.size());
    std::size_t size = offsetof(sockaddr_un, sun_path) + name.size();
    if (name.front() == '@')
        address.sun_path[0] = '\0'; // an abstract name, which has no file
    else
        ++size; // the terminating zero
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM, 0);
    if (descriptor == -1)
        return;
    sendto(descriptor, assignment.data(), assignment.size(), 0, reinterpret_cast<const sockaddr*>(&address),
           static_cast<socklen_t>(size));
    close(descriptor);
}

std::chrono::microseconds WatchdogLimit()
{
    // The variables may be meant for a parent process.
    const std::string process = Variable("WATCHDOG_PID");
    if (!process.empty() && process != std::to_string(getpid()))
        return std::chrono::microseconds(0);
    return std::chrono::microseconds(std::strtoll(Variable("WATCHDOG_USEC").c_str(), nullptr, 10));
}

bool IsJournal(int fileDescriptor)
{
    struct stat file = {};
    return fstat(fileDescriptor, &file) == 0 &&
           Variable("JOURNAL_STREAM") == std::to_string(file.st_dev) + ':' + std::to_string(file.st_ino);
}
#endif
