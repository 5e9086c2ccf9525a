#pragma once

#include "Comm/FrameReader.h"
#include "Traffic/Traffic.h"

#include <QByteArray>
#include <QString>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/ip/udp.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>

/// A message of the host.
struct SReceived {
    std::uint32_t code = 0; ///< without the reply bit; 0 on channels of datagrams
    QByteArray payload;
};

/// One connection of a remote: a TCP connection of the app, the FP controller's end, or a socket for datagrams.
/// Use it from one thread. Data is received only while the io_context runs.
class CReplayPeer {
public:
    using Clock = std::chrono::steady_clock;

    /// Connects to a channel of the host. Throws CFailure if that fails.
    CReplayPeer(asio::io_context& context, TrafficChannel channel, const QString& host);
    /// Takes a connection that the host has opened.
    CReplayPeer(TrafficChannel channel, asio::ip::tcp::socket socket);
    CReplayPeer(const CReplayPeer&) = delete;
    CReplayPeer& operator=(const CReplayPeer&) = delete;
    ~CReplayPeer();

    TrafficChannel Channel() const { return m_channel; }
    /// Sends a message. Does nothing if the connection has ended.
    void Send(std::uint32_t code, const QByteArray& payload);
    /// Whether the host has closed the connection.
    bool HasEnded() const { return m_ended; }
    /// The messages that have arrived and that the caller has not removed.
    std::deque<SReceived>& Received() { return m_received; }

private:
    void Read();
    void TakeBytes(std::string_view bytes);

    const TrafficChannel m_channel;
    asio::ip::tcp::socket m_stream;
    asio::ip::udp::socket m_datagrams;
    CFrameReader m_reader;
    std::array<char, 65536> m_buffer{};
    std::deque<SReceived> m_received;
    bool m_ended = false;
    /// Handlers of sockets that were destroyed still run; they find the peer gone.
    std::shared_ptr<CReplayPeer*> m_self = std::make_shared<CReplayPeer*>(this);
};
