#pragma once

#include <QTemporaryDir>

#include <string>

/// A serial port that can be unplugged: a path that leads to a pseudo-terminal, whose other end is the device.
class CPluggedPort {
public:
    CPluggedPort() = default;
    ~CPluggedPort() { Unplug(); }

    void Plug();
    void Unplug();
    std::string Path() const { return m_folder.filePath("port").toStdString(); }

    /// What the device has received by now and not yet read.
    std::string ReadAll() { return ReadAtMost(std::string::npos); }
    /// Reads that many bytes and no more; fewer when patience runs out.
    std::string Read(std::size_t bytes);
    /// The device's end.
    int Descriptor() const { return m_device; }

private:
    std::string ReadAtMost(std::size_t bytes);

    QTemporaryDir m_folder;
    int m_device = -1;
};
