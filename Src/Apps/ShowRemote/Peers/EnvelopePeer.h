#pragma once

#include "Comm/FrameReader.h"

#include <QByteArray>
#include <QString>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/signal_set.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

/// The channels that carry envelopes: two of the app and one of the FP controller.
enum class Channel { Control, Bulk, FP };

/// Returns the channel's name in messages: "control", "bulk" or "FP".
const char* NameOf(Channel channel);

/// A message from the host: a reply or an unsolicited notice.
struct SMessage {
    Channel channel = Channel::Control;
    unsigned int code = 0;
    QByteArray body;
};

/// The remote's end of the channels that carry envelopes.
///
/// Use it from one thread. Data is sent and received only during calls. The functions throw CFailure if they fail;
/// don't use the peer after that.
class CEnvelopePeer {
public:
    using Clock = std::chrono::steady_clock;

    CEnvelopePeer() = default;
    CEnvelopePeer(const CEnvelopePeer&) = delete;
    CEnvelopePeer& operator=(const CEnvelopePeer&) = delete;

    /// Connects one channel of the app. Connect both, one directly after the other: the host assigns two successive
    /// connections to one app. Returns the port.
    std::uint16_t Connect(Channel channel, const QString& host, Clock::time_point deadline);
    /// Starts listening for the host.
    void Listen(const QString& address, std::uint16_t port);
    /// Waits for the host to connect, stops listening and returns the host's ADDRESS:PORT, or no value if the deadline
    /// passes.
    std::optional<QString> Accept(Channel channel, Clock::time_point deadline);
    /// Sends an envelope with this code and body.
    void Send(Channel channel, unsigned int code, const QByteArray& body, Clock::time_point deadline);
    /// Returns the next message of any channel, or no value if the deadline passes or an interrupt signal arrives
    /// first. Throws CFailure if the host has closed a channel and all received messages have been returned.
    std::optional<SMessage> Receive(Clock::time_point deadline);

    /// Makes Receive send a heartbeat every second and consume the replies to these. The host logs out an app that
    /// sends no heartbeat for five seconds. \param timeout for sending one heartbeat
    void KeepAlive(Channel channel, std::chrono::milliseconds timeout);
    /// Makes Ctrl-C (SIGINT) and SIGTERM end Receive instead of the program.
    void HeedInterrupt();

private:
    struct SSide {
        explicit SSide(asio::io_context& context) : socket(context) {}

        asio::ip::tcp::socket socket;
        CFrameReader reader;
        std::array<char, 65536> buffer{};
        QString ended;         ///< why the channel has ended; empty while it is open
        bool isPaused = false; ///< reading is suspended until the received messages have been returned
    };

    struct SHeartbeats {
        Channel channel = Channel::Control;
        std::chrono::milliseconds timeout{};
        Clock::time_point next = Clock::time_point::max();
        int unanswered = 0;
    };

    SSide& SideOf(Channel channel) { return m_sides[static_cast<std::size_t>(channel)]; }
    template <class Socket>
    asio::error_code Await(Socket& socket, const std::optional<asio::error_code>& outcome, Clock::time_point deadline);
    void Opened(Channel channel);
    std::optional<SMessage> NextMessage(Clock::time_point deadline);
    void SendHeartbeatIfDue();
    bool IsHeartbeatReply(const SMessage& message);
    void ReadOn(Channel channel);
    void TakeBytes(Channel channel, std::string_view bytes);

    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor{m_context};
    asio::signal_set m_interrupts{m_context};
    bool m_interrupted = false;
    std::array<SSide, 3> m_sides{SSide(m_context), SSide(m_context), SSide(m_context)};
    std::deque<SMessage> m_received;
    SHeartbeats m_heartbeats;
};
