#include "Comm/ChannelEvents.h"
#include "Comm/PayloadText.h"
#include "Interfaces/DeviceChannels.h"

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <exception>
#include <mutex>

namespace {

void Note(const std::string& peer, const std::string& text)
{
    CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Note, "UDP device", peer, text});
}

} // namespace

/// Sends at once, on the caller's thread.
class Comm::UDPClientChannel::Impl {
public:
    bool Open(const std::string& localIp, unsigned short localPort)
    {
        const std::lock_guard lock(m_mutex);
        asio::error_code error;
        asio::error_code ignored;
        const auto address = localIp.empty() ? asio::ip::address_v4::any() : asio::ip::make_address_v4(localIp, error);
        m_socket.close(ignored);
        if (!error)
            m_socket.open(asio::ip::udp::v4(), error);
        // Each device has a channel, and all leave from the same port. Nobody receives on it.
        if (!error)
            m_socket.set_option(asio::socket_base::reuse_address(true), error);
        if (!error)
            m_socket.set_option(asio::socket_base::broadcast(true), error);
        if (!error)
            m_socket.bind({address, localPort}, error);
        if (!error)
            return true;
        m_socket.close(ignored);
        Note({}, "can't use local port " + std::to_string(localPort) + ": " + error.message());
        return false;
    }

    bool Send(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
    {
        const std::string peer = AddressText(remoteIp, remotePort);
        asio::error_code error;
        const asio::ip::udp::endpoint remote(asio::ip::make_address_v4(remoteIp, error), remotePort);
        // What the system makes of port 0 differs.
        if (!error && remotePort == 0)
            error = asio::error::invalid_argument;
        if (!error) {
            const std::lock_guard lock(m_mutex);
            m_socket.send_to(asio::buffer(datagram), remote, 0, error);
        }
        if (error) {
            Note(peer, std::to_string(datagram.size()) + " bytes not sent: " + error.message());
            return false;
        }
        if (CChannelEvents::GetInstance().WantsTraffic())
            CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Sent, "UDP device", peer, TrafficText(datagram)});
        return true;
    }

private:
    asio::io_context m_context;
    std::mutex m_mutex;
    asio::ip::udp::socket m_socket{m_context};
};

Comm::UDPClientChannel::UDPClientChannel(std::size_t)
{
    // Nobody above counts on exceptions: without a descriptor to be had it is a socket that can't be bound.
    try {
        m_impl = std::make_unique<Impl>();
    } catch (const std::exception& error) {
        Note({}, error.what());
    }
}

Comm::UDPClientChannel::~UDPClientChannel() = default;

bool Comm::UDPClientChannel::Init(const std::string& localIp, unsigned short localPort)
{
    return m_impl && m_impl->Open(localIp, localPort);
}

bool Comm::UDPClientChannel::SendTo(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    return m_impl && m_impl->Send(datagram, remoteIp, remotePort);
}
