#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <mutex>

class CSerialPort;

/// The serial ports that no device uses any more and that still transmit their queued commands. Any thread.
class CClosingPorts {
public:
    static CClosingPorts& GetInstance();
    /// Closes the port in the background. The port has 1 s to transmit its queued commands, or no time when 32 others
    /// are closing.
    void Add(std::unique_ptr<CSerialPort> port);
    /// Whether an earlier port with the same name is still closing. Its commands must be sent before those of this
    /// port.
    bool HasEarlier(const CSerialPort& port) const;
    /// Waits until all ports are closed.
    /// \return false when the limit expires before, because the system blocks a port
    bool WaitForAll(std::chrono::milliseconds limit = std::chrono::milliseconds(1200));

private:
    CClosingPorts();
    /// Waits for the ports at the end of the process, if the host has not called WaitForAll.
    ~CClosingPorts();
    /// Destroys the closed ports. Returns false when none is left.
    bool Reap();

    mutable std::mutex m_mutex;
    std::list<std::unique_ptr<CSerialPort>> m_ports;
};
