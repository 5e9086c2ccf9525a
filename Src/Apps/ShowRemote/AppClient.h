#pragma once

#include "Comm/FrameReader.h"
#include "Interfaces/AppServer.h"

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

/// What a host sent: a reply, or a notice that nobody asked for.
struct SAppMessage {
    AppServer::Channel channel = AppServer::Control;
    unsigned int code = 0;
    QByteArray body;
};

const char* NameOf(AppServer::Channel channel);

/// The mobile app's end of the two TCP channels. Single-threaded; nothing happens outside its calls. What goes wrong is
/// thrown as CFailure, and the client is of no more use then.
class CAppClient {
public:
    using Clock = std::chrono::steady_clock;

    explicit CAppClient(QString host);
    CAppClient(const CAppClient&) = delete;
    CAppClient& operator=(const CAppClient&) = delete;

    /// Connects one channel. The host takes the two that are connected one after the other for one app.
    void Connect(AppServer::Channel channel, Clock::time_point deadline);
    void Send(AppServer::Channel channel, unsigned int code, const QByteArray& body, Clock::time_point deadline);
    /// The next message of either channel, or none when the deadline passes or an interrupt is heeded. A channel that
    /// the host closed is a failure, once what it sent before has been received.
    std::optional<SAppMessage> Receive(Clock::time_point deadline);

    /// From now on Ctrl-C (SIGINT) and SIGTERM end Receive instead of the program.
    void HeedInterrupt();
    bool IsInterrupted() const { return m_interrupted; }

private:
    struct SSide {
        explicit SSide(asio::io_context& context) : socket(context) {}

        asio::ip::tcp::socket socket;
        CFrameReader reader;
        std::array<char, 65536> buffer{};
        QString ended; ///< why no more comes in; empty while it may
    };

    SSide& SideOf(AppServer::Channel channel) { return m_sides[static_cast<std::size_t>(channel)]; }
    asio::error_code Await(SSide& side, const std::optional<asio::error_code>& outcome, Clock::time_point deadline);
    void ReadOn(AppServer::Channel channel);
    void TakeBytes(AppServer::Channel channel, std::string_view bytes);

    const QString m_host;
    asio::io_context m_context;
    asio::signal_set m_interrupts{m_context};
    bool m_interrupted = false;
    std::array<SSide, 2> m_sides{SSide(m_context), SSide(m_context)};
    std::deque<SAppMessage> m_received;
};
