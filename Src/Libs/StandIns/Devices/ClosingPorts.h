#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <mutex>

class CSerialPort;

/// The serial ports that no device uses any more and that still transmit what is queued for them. Any thread.
class CClosingPorts {
public:
    static CClosingPorts& GetInstance();
    /// Closes the port in the background. What is queued gets 1 s to go out, or none when 32 others are closing.
    void Add(std::unique_ptr<CSerialPort> port);
    /// Whether an earlier port of the same name is still closing: its commands must be out before those of this one.
    bool HasEarlier(const CSerialPort& port) const;
    /// Waits until all are closed. False when the limit passes first: the system holds up a port.
    bool WaitForAll(std::chrono::milliseconds limit = std::chrono::milliseconds(1200));

private:
    CClosingPorts();
    /// At the end of the process, for a host that has not waited.
    ~CClosingPorts();
    /// False when none is left.
    bool Reap();

    mutable std::mutex m_mutex;
    std::list<std::unique_ptr<CSerialPort>> m_ports;
};
