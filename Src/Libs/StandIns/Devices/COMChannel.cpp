#include "Comm/ChannelEvents.h"
#include "Devices/ClosingPorts.h"
#include "Devices/SerialPort.h"
#include "Interfaces/DeviceChannels.h"

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
        CChannelEvents::GetInstance().Publish({SChannelEvent::Kind::Note, "serial device", {}, error.what()});
    }
}

Comm::COMChannel::~COMChannel() = default;

bool Comm::COMChannel::Open(const std::string& portName)
{
    try {
        return m_impl && m_impl->Port().Open(portName);
    } catch (const std::exception& error) {
        CChannelEvents::GetInstance().Publish({SChannelEvent::Kind::Note, "serial device", portName, error.what()});
        m_impl.reset();
        return false;
    }
}

void Comm::COMChannel::AsyncSend(std::shared_ptr<RequestPackage> package)
{
    if (m_impl)
        m_impl->Port().Send(std::move(package));
}
