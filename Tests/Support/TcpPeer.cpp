#include "Support/TcpPeer.h"

#include <asio/write.hpp>

#include <array>

namespace {

constexpr std::size_t kHeaderBytes = 12;

std::string BigEndian(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

std::uint32_t FromBigEndian(const std::string& bytes, std::size_t at)
{
    std::uint32_t number = 0;
    for (std::size_t i = at; i < at + 4; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

} // namespace

std::string EnvelopeBytes(std::uint32_t code, const std::string& body)
{
    return "ZXAP" + BigEndian(code) + BigEndian(static_cast<std::uint32_t>(body.size())) + body;
}

CTcpPeer::CTcpPeer() : m_socket(m_context, asio::ip::tcp::v4()) {}

CTcpPeer::CTcpPeer(const std::string& address, std::uint16_t port) : CTcpPeer()
{
    Connect(address, port);
}

void CTcpPeer::Connect(const std::string& address, std::uint16_t port, std::uint16_t localPort)
{
    if (localPort != 0) {
        m_socket.set_option(asio::socket_base::reuse_address(true));
        m_socket.bind({asio::ip::make_address("127.0.0.1"), localPort});
    }
    m_socket.connect({asio::ip::make_address(address), port});
    m_socket.set_option(asio::ip::tcp::no_delay(true));
}

bool CTcpPeer::Accept(asio::ip::tcp::acceptor& acceptor)
{
    acceptor.non_blocking(true);
    m_socket.close();
    asio::error_code error;
    return WaitUntil([&] {
        acceptor.accept(m_socket, error);
        return !error;
    });
}

void CTcpPeer::Send(const std::string& bytes)
{
    asio::error_code ignored; // the other side may close at any time
    asio::write(m_socket, asio::buffer(bytes), ignored);
}

bool CTcpPeer::ReadSome(std::chrono::milliseconds timeout)
{
    if (m_ended)
        return false;
    std::array<char, 65536> bytes;
    bool done = false;
    m_socket.async_read_some(asio::buffer(bytes), [&](const asio::error_code& error, std::size_t count) {
        done = error != asio::error::operation_aborted;
        m_ended = done && error;
        m_received.append(bytes.data(), count);
    });
    m_context.restart();
    m_context.run_for(timeout);
    if (!done) {
        m_socket.cancel();
        m_context.restart();
        m_context.run();
    }
    return done && !m_ended;
}

std::optional<SFrame> CTcpPeer::Receive(std::chrono::milliseconds timeout)
{
    const auto isWhole = [this] {
        return m_received.size() >= kHeaderBytes && m_received.size() >= kHeaderBytes + FromBigEndian(m_received, 8);
    };
    while (!isWhole()) {
        if (!ReadSome(timeout))
            return std::nullopt;
    }
    const std::size_t size = kHeaderBytes + FromBigEndian(m_received, 8);
    SFrame frame{FromBigEndian(m_received, 4), m_received.substr(kHeaderBytes, size - kHeaderBytes)};
    m_received.erase(0, size);
    return frame;
}

bool CTcpPeer::IsClosedByPeer(std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!m_ended && std::chrono::steady_clock::now() < deadline) {
        ReadSome(timeout);
        m_received.clear();
    }
    return m_ended;
}

void CTcpPeer::EndSending()
{
    m_socket.shutdown(asio::socket_base::shutdown_send);
}

void CTcpPeer::Reset()
{
    m_socket.set_option(asio::socket_base::linger(true, 0));
    m_socket.close();
}

void CTcpPeer::Close()
{
    m_socket.close();
}

std::uint16_t CTcpPeer::LocalPort() const
{
    return m_socket.local_endpoint().port();
}
