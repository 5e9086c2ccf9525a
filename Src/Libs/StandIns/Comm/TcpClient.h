#pragma once

#include "Comm/BackOff.h"
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

/// Maintains one connection that carries app envelopes: connects, and connects again after a failure or when the
/// connection has ended.
class CTcpClient {
public:
    /// Time limit of an attempt to connect, and the pauses between attempts.
    struct STimeouts {
        std::chrono::milliseconds connect = std::chrono::seconds(10);
        std::chrono::milliseconds firstPause = std::chrono::milliseconds(250); ///< doubled after each failure
        std::chrono::milliseconds longestPause = std::chrono::seconds(10);
    };
    struct SOptions {
        TrafficChannel channel = TrafficChannel::AppControl; ///< in traffic records
        std::string host;                                    ///< an IP address or a host name
        std::uint16_t port = 0;
        STimeouts timeouts;
        SConnectionLimits limits;
    };
    /// Both run on the I/O threads, one after the other; ended is the last callback of a connection.
    struct SCallbacks {
        CEnvelopeConnection::FrameCallback frame;
        std::function<void(const CEnvelopeConnection::Ptr&)> ended;
    };

    CTcpClient(CIoThreads& threads, SOptions options, SCallbacks callbacks);

    /// Starts connecting, and returns at once. To be called once.
    void Start();
    /// Closes the connection; requests whose handling has not begun are dropped. Returns when the connection's ended
    /// callback has returned. Must not be called on the I/O threads.
    void Stop();
    /// Returns the open connection, or null. Any thread.
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
    void Publish(STrafficRecord::Kind kind, const std::string& peer, const std::string& text,
                 std::uint64_t connection = 0) const;

    CIoThreads& m_threads;
    const SOptions m_options;
    const SCallbacks m_callbacks;

    asio::strand<asio::io_context::executor_type> m_strand; ///< serializes access to the members up to m_lastFailure
    Tcp::resolver m_resolver;
    Tcp::socket m_socket; ///< of the current attempt to connect
    asio::steady_timer m_timer;
    bool m_connecting = false;
    CBackOff m_pauses;
    std::string m_lastFailure; ///< to publish a repeated failure once only

    mutable std::mutex m_mutex; ///< guards the connection and the flags below
    CEnvelopeConnection::Ptr m_connection;
    bool m_stopping = false;
    bool m_isUnended = false; ///< there is a connection whose ended callback has not returned
    std::condition_variable m_ended;
    const std::shared_ptr<CChannelMemory> m_memory;
    CDeadlineWatch m_deadlines;
};
