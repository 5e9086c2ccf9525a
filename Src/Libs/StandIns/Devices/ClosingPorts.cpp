#include "Devices/ClosingPorts.h"

#include "Devices/SerialPort.h"

#include <algorithm>
#include <iterator>
#include <thread>

namespace {

/// Time to transmit what is queued: 500 bytes take half a second at 9600 baud. The exit of the host waits this long.
constexpr std::chrono::seconds kMaxClosing(1);
/// Maximum number of closing ports with time to transmit; each one has a thread. An operator can't exceed it by hand,
/// but a program that updates devices repeatedly can.
constexpr std::size_t kMaxPorts = 32;
constexpr std::chrono::milliseconds kPollPeriod(2);

} // namespace

CClosingPorts& CClosingPorts::GetInstance()
{
    static CClosingPorts ports;
    return ports;
}

CClosingPorts::CClosingPorts()
{
    CTraffic::GetInstance(); // create it first, so that it is destroyed last: ports publish records until they end
}

CClosingPorts::~CClosingPorts()
{
    if (WaitForAll())
        return;
    for (std::unique_ptr<CSerialPort>& port : m_ports)
        static_cast<void>(port.release()); // leaked: waiting for its thread could block the exit
}

void CClosingPorts::Add(std::unique_ptr<CSerialPort> port)
{
    Reap();
    CSerialPort& closing = *port;
    bool crowded = false;
    {
        const std::lock_guard lock(m_mutex);
        m_ports.push_back(std::move(port));
        crowded = m_ports.size() > kMaxPorts;
    }
    closing.Close(crowded ? std::chrono::seconds(0) : kMaxClosing);
}

bool CClosingPorts::HasEarlier(const CSerialPort& port) const
{
    const std::lock_guard lock(m_mutex);
    return std::any_of(m_ports.begin(), m_ports.end(), [&](const std::unique_ptr<CSerialPort>& closing) {
        return closing->Name() == port.Name() && closing->Number() < port.Number() && !closing->IsClosed();
    });
}

bool CClosingPorts::WaitForAll(std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (Reap()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(kPollPeriod);
    }
    return true;
}

bool CClosingPorts::Reap()
{
    std::list<std::unique_ptr<CSerialPort>> closed; // destroyed after the unlock: their threads may wait for the mutex
    const std::lock_guard lock(m_mutex);
    for (auto port = m_ports.begin(); port != m_ports.end();) {
        const auto next = std::next(port);
        if ((*port)->IsClosed())
            closed.splice(closed.end(), m_ports, port);
        port = next;
    }
    return !m_ports.empty();
}
