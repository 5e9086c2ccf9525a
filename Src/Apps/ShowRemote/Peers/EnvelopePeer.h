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

/// The channels that carry envelopes: the app's two, and the FP controller's.
enum class Channel { Control, Bulk, FP };

const char* NameOf(Channel channel);

/// What a host sent: a reply, or an unrequested notice.
struct SMessage {
    Channel channel = Channel::Control;
    unsigned int code = 0;
    QByteArray body;
};

/// The far end of the channels that carry envelopes. Single-threaded; nothing happens outside its calls. What goes
/// wrong is thrown as CFailure, and the peer is of no more use then.
class CEnvelopePeer {
public:
    using Clock = std::chrono::steady_clock;

    CEnvelopePeer() = default;
    CEnvelopePeer(const CEnvelopePeer&) = delete;
    CEnvelopePeer& operator=(const CEnvelopePeer&) = delete;

    /// Connects one channel of the app. The host takes the two that are connected one after the other for one app.
    void Connect(Channel channel, const QString& host, Clock::time_point deadline);
    /// Waits for the host to connect to this address, and returns where it comes from.
    QString Accept(Channel channel, const QString& address, std::uint16_t port, Clock::time_point deadline);
    void Send(Channel channel, unsigned int code, const QByteArray& body, Clock::time_point deadline);
    /// The next message of any channel, or none when the deadline passes or an interrupt is heeded. A channel that
    /// the host closed is a failure, once what it sent before has been received.
    std::optional<SMessage> Receive(Clock::time_point deadline);

    /// From now on Receive sends a heartbeat each second and takes the replies to these itself: the host logs an app
    /// out that has sent none for five seconds. timeout: for sending one.
    void KeepAlive(Channel channel, std::chrono::milliseconds timeout);
    /// From now on Ctrl-C (SIGINT) and SIGTERM end Receive instead of the program.
    void HeedInterrupt();
    bool IsInterrupted() const { return m_interrupted; }

private:
    struct SSide {
        explicit SSide(asio::io_context& context) : socket(context) {}

        asio::ip::tcp::socket socket;
        CFrameReader reader;
        std::array<char, 65536> buffer{};
        QString ended;         ///< why no more comes in; empty while it may
        bool isPaused = false; ///< nothing is read until what has been received is taken
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
    asio::signal_set m_interrupts{m_context};
    bool m_interrupted = false;
    std::array<SSide, 3> m_sides{SSide(m_context), SSide(m_context), SSide(m_context)};
    std::deque<SMessage> m_received;
    SHeartbeats m_heartbeats;
};
