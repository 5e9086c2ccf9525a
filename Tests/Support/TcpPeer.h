#pragma once

#include "Support/Waiting.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// Envelopes as a remote writes them, built apart from the code under test.
std::string EnvelopeBytes(std::uint32_t code, const std::string& body);

struct SFrame {
    std::uint32_t code = 0;
    std::string body;

    bool operator==(const SFrame& other) const { return code == other.code && body == other.body; }
};

/// The far end of a TCP connection, used from one thread.
class CTcpPeer {
public:
    /// Not connected yet.
    CTcpPeer();
    CTcpPeer(const std::string& address, std::uint16_t port);
    void Connect(const std::string& address, std::uint16_t port);
    /// False when nobody connects.
    bool Accept(asio::ip::tcp::acceptor& acceptor);

    void Send(const std::string& bytes);
    void Send(std::uint32_t code, const std::string& body = {}) { Send(EnvelopeBytes(code, body)); }
    /// The next envelope, or nothing when the connection ends or the timeout expires.
    std::optional<SFrame> Receive(std::chrono::milliseconds timeout = kTimeout);
    /// Whether the other side ends the connection; what still comes in is read and dropped.
    bool IsClosedByPeer(std::chrono::milliseconds timeout = kTimeout);
    void EndSending();
    /// Closes with a reset instead of an orderly end.
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
