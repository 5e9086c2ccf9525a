#pragma once

#include "Support/Waiting.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// Returns an envelope as a remote writes it, built without the code under test.
std::string EnvelopeBytes(std::uint32_t code, const std::string& body);

struct SFrame {
    std::uint32_t code = 0;
    std::string body;

    bool operator==(const SFrame& other) const { return code == other.code && body == other.body; }
};

/// The peer's end of a TCP connection, used from one thread.
class CTcpPeer {
public:
    /// Not connected yet.
    CTcpPeer();
    CTcpPeer(const std::string& address, std::uint16_t port);
    /// \param localPort 0: any
    void Connect(const std::string& address, std::uint16_t port, std::uint16_t localPort = 0);
    /// Returns false if no peer connects in time.
    bool Accept(asio::ip::tcp::acceptor& acceptor);

    void Send(const std::string& bytes);
    void Send(std::uint32_t code, const std::string& body = {}) { Send(EnvelopeBytes(code, body)); }
    /// The next envelope, or nothing when the connection ends or the timeout expires.
    std::optional<SFrame> Receive(std::chrono::milliseconds timeout = kTimeout);
    /// Whether the other side ends the connection; what still comes in is read and dropped.
    bool IsClosedByPeer(std::chrono::milliseconds timeout = kTimeout);
    void EndSending();
    /// Closes the connection with a TCP reset.
    void Reset();
    void Close();
    std::uint16_t LocalPort() const;

private:
    bool ReadSome(std::chrono::milliseconds timeout);

    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
    std::string m_received;
    bool m_ended = false;
};
