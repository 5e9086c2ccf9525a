#include "Devices/PluggedPort.h"

#include "Support/Waiting.h"

#include <algorithm>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

void CPluggedPort::Plug()
{
    m_device = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    grantpt(m_device);
    unlockpt(m_device);
    if (symlink(ptsname(m_device), Path().c_str()) != 0)
        std::abort();
}

void CPluggedPort::Unplug()
{
    if (m_device < 0)
        return;
    unlink(Path().c_str());
    close(m_device);
    m_device = -1;
}

std::string CPluggedPort::ReadAtMost(std::size_t most)
{
    std::string received;
    char bytes[4096];
    while (received.size() < most) {
        const ssize_t count = read(m_device, bytes, std::min(sizeof bytes, most - received.size()));
        if (count <= 0)
            break;
        received.append(bytes, static_cast<std::size_t>(count));
    }
    return received;
}

std::string CPluggedPort::Read(std::size_t bytes)
{
    std::string received;
    WaitUntil([&] {
        received += ReadAtMost(bytes - received.size());
        return received.size() >= bytes;
    });
    return received;
}
