#pragma once

#include "Comm/BackOff.h"
#include "Comm/ChannelEvents.h"
#include "Comm/DeadlineWatch.h"
#include "Comm/EnvelopeConnection.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Keeps one connection that carries app envelopes: connects, and connects again whenever that fails or the connection
/// ends.
class CTcpClient {
public:
    /// How long it waits for a connection, and before it tries again.
    struct STimeouts {
        std::chrono::milliseconds connect = std::chrono::seconds(10);
        std::chrono::milliseconds firstPause = std::chrono::milliseconds(250);
        std::chrono::milliseconds longestPause = std::chrono::seconds(10);
    };
    struct SOptions {
        std::string channel; ///< its name in events
        std::string host;    ///< an address or a name
        std::uint16_t port = 0;
        STimeouts timeouts;
        SConnectionLimits limits;
    };
    /// Both run on the threads, one after the other; ended is the last of a connection.
    struct SCallbacks {
        CEnvelopeConnection::FrameCallback frame;
        std::function<void(const CEnvelopeConnection::Ptr&)> ended;
    };

    CTcpClient(CIoThreads& threads, SOptions options, SCallbacks callbacks);

    void Start();
    /// Closes the connection; requests that are not yet being handled are dropped. Returns when the connection's ended
    /// callback has returned. Not to be called on the threads.
    void Stop();
    /// The open connection, or null.
    CEnvelopeConnection::Ptr Connection() const;

private:
    using Tcp = asio::ip::tcp;

    std::vector<CEnvelopeConnection::Ptr> Connections() const;
    void Resolve();
    void Connect(const std::vector<Tcp::endpoint>& endpoints);
    void Connected(const asio::error_code& error);
    void Open();
    void Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason);
    void Failed(const asio::error_code& error);
    void TryLater();
    void Publish(SChannelEvent::Kind kind, const std::string& peer, const std::string& text) const;

    CIoThreads& m_threads;
    const SOptions m_options;
    const SCallbacks m_callbacks;

    asio::strand<asio::io_context::executor_type> m_strand; ///< what follows is used on it alone
    Tcp::resolver m_resolver;
    Tcp::socket m_socket; ///< while it connects
    asio::steady_timer m_timer;
    bool m_connecting = false;
    CBackOff m_pauses;
    std::string m_lastFailure; ///< told once, not at every try

    mutable std::mutex m_mutex; ///< guards what follows
    CEnvelopeConnection::Ptr m_connection;
    bool m_stopping = false;
    bool m_isUnended = false; ///< the ended callback of a connection has not returned
    std::condition_variable m_ended;
    const std::shared_ptr<CChannelMemory> m_memory;
    CDeadlineWatch m_deadlines;
};
