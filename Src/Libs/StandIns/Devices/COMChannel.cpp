#include "Devices/ClosingPorts.h"
#include "Devices/SerialPort.h"
#include "Interfaces/DeviceChannels.h"
#include "Traffic/Traffic.h"

#include <exception>
#include <utility>

/// The destructor does not wait for the device: the port is closed in the background.
class Comm::COMChannel::Impl {
public:
    Impl(std::size_t bufferBytes, const std::string& lineSettings)
        : m_port(std::make_unique<CSerialPort>(bufferBytes, lineSettings))
    {}
    ~Impl() { CClosingPorts::GetInstance().Add(std::move(m_port)); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    CSerialPort& Port() { return *m_port; }

private:
    std::unique_ptr<CSerialPort> m_port;
};

Comm::COMChannel::COMChannel(std::size_t bufferBytes, const std::string& lineSettings)
{
    // Callers don't expect exceptions: if no descriptor or thread is available, Open returns false.
    try {
        m_impl = std::make_unique<Impl>(bufferBytes, lineSettings);
    } catch (const std::exception& error) {
        CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, TrafficChannel::Devices, {}, error.what()});
    }
}

Comm::COMChannel::~COMChannel() = default;

bool Comm::COMChannel::Open(const std::string& portName)
{
    try {
        return m_impl && m_impl->Port().Open(portName);
    } catch (const std::exception& error) {
        CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, TrafficChannel::Devices, portName, error.what()});
        m_impl.reset();
        return false;
    }
}

void Comm::COMChannel::AsyncSend(std::shared_ptr<RequestPackage> package)
{
    if (m_impl)
        m_impl->Port().Send(std::move(package));
}
