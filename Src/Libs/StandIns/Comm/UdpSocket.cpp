#include "Comm/UdpSocket.h"

#include <asio/buffer.hpp>

#include <utility>

namespace {

/// The largest datagram that IPv4 carries fits.
constexpr std::size_t kBufferBytes = 65536;

} // namespace

CUdpSocket::CUdpSocket(CIoThreads& threads, std::string channel, DatagramCallback onDatagram)
    : m_threads(threads)
    , m_channel(std::move(channel))
    , m_onDatagram(std::move(onDatagram))
    , m_socket(threads.Context())
    , m_buffer(kBufferBytes)
{}

bool CUdpSocket::Start(const std::string& address, std::uint16_t port)
{
    asio::error_code error;
    const asio::ip::udp::endpoint endpoint(asio::ip::make_address(address, error), port);
    if (!error)
        m_socket.open(endpoint.protocol(), error);
    if (!error)
        m_socket.bind(endpoint, error);
    if (!error)
        m_socket.non_blocking(true, error);
    const std::string text = address + ':' + std::to_string(port);
    if (error) {
        CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Failed, m_channel, {}, text + ": " + error.message()});
        return false;
    }
    CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Listening, m_channel, {}, text});
    Receive();
    return true;
}

void CUdpSocket::Receive()
{
    m_socket.async_receive_from(
        asio::buffer(m_buffer), m_remote, [this](const asio::error_code& error, std::size_t count) {
            if (error == asio::error::operation_aborted || error == asio::error::bad_descriptor)
                return;
            // Other errors are about an earlier datagram that found nobody.
            if (!error) {
                const CIoThreads::CCallOut callOut(m_threads);
                m_onDatagram(std::string(m_buffer.data(), count), m_remote.address().to_string(), m_remote.port());
            }
            Receive();
        });
}

void CUdpSocket::Send(const std::string& datagram, const std::string& ip, std::uint16_t port)
{
    asio::error_code error;
    const asio::ip::udp::endpoint remote(asio::ip::make_address(ip, error), port);
    if (!error) {
        const std::lock_guard lock(m_sendMutex);
        m_socket.send_to(asio::buffer(datagram), remote, 0, error);
    }
    if (error) {
        CChannelEvents::GetInstance().Tell({SChannelEvent::Kind::Note, m_channel, ip + ':' + std::to_string(port),
                                            "datagram not sent: " + error.message()});
    }
}
