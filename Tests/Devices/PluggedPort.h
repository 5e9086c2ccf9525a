#pragma once

#include "Support/Waiting.h"

#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

/// A serial port that can be unplugged: a symbolic link to a pseudo-terminal whose other end is the device.
class CPluggedPort {
public:
    CPluggedPort() = default;
    ~CPluggedPort() { Unplug(); }

    void Plug()
    {
        m_device = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (grantpt(m_device) != 0 || unlockpt(m_device) != 0 || symlink(ptsname(m_device), Path().c_str()) != 0)
            std::abort();
    }

    void Unplug()
    {
        unlink(Path().c_str());
        close(std::exchange(m_device, -1));
    }

    std::string Path() const { return m_folder.filePath("port").toStdString(); }
    /// The device's end.
    int Descriptor() const { return m_device; }
    /// Returns what the device has received and not read yet.
    std::string ReadAll() { return ReadAtMost(std::string::npos); }

    /// Reads that many bytes and no more; fewer when the timeout expires.
    std::string Read(std::size_t bytes)
    {
        std::string received;
        WaitUntil([&] {
            received += ReadAtMost(bytes - received.size());
            return received.size() >= bytes;
        });
        return received;
    }

private:
    std::string ReadAtMost(std::size_t most)
    {
        std::string received;
        char bytes[4096];
        ssize_t count = 1;
        while (count > 0 && received.size() < most) {
            count = read(m_device, bytes, std::min(sizeof bytes, most - received.size()));
            received.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        return received;
    }

    QTemporaryDir m_folder;
    int m_device = -1;
};
