#include "Comm/ChannelEvents.h"
#include "Devices/SerialPort.h"
#include "Interfaces/DeviceChannels.h"

#include <exception>
#include <utility>

class Comm::COMChannel::Impl : public CSerialPort {
    using CSerialPort::CSerialPort;
};

Comm::COMChannel::COMChannel(std::size_t bufferBytes, const std::string& lineSettings)
{
    // Nobody above counts on exceptions: without a descriptor or a thread to be had it is a port that can't be opened.
    try {
        m_impl = std::make_unique<Impl>(bufferBytes, lineSettings);
    } catch (const std::exception& error) {
        CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Note, "serial device", {}, error.what()});
    }
}

Comm::COMChannel::~COMChannel() = default;

bool Comm::COMChannel::Open(const std::string& portName)
{
    try {
        return m_impl && m_impl->Open(portName);
    } catch (const std::exception& error) {
        CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Note, "serial device", portName, error.what()});
        m_impl.reset();
        return false;
    }
}

void Comm::COMChannel::AsyncSend(std::shared_ptr<RequestPackage> package)
{
    if (m_impl)
        m_impl->Send(std::move(package));
}
