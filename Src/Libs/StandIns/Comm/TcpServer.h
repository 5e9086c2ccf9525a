#pragma once

#include "Comm/ChannelMemory.h"
#include "Comm/DeadlineWatch.h"
#include "Comm/EnvelopeConnection.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Accepts connections that carry app envelopes.
///
/// When the maximum number of connections is reached, the server closes the one that has been idle for the longest time
/// to accept a new one. A connection that handles a request, has unsent replies or is protected
/// (CEnvelopeConnection::Protect) is not closed; if all are such connections, the new one is refused.
class CTcpServer {
public:
    struct SOptions {
        TrafficChannel channel = TrafficChannel::AppControl; ///< in traffic records
        std::string address;                                 ///< IP address to listen on
        std::uint16_t port = 0;
        SConnectionLimits limits;
        SChannelLimits channelLimits = {};
        std::size_t maxConnections = 1000;
    };
    /// All run on the I/O threads. The callbacks of one connection run one after the other, opened first and ended
    /// last. The opened and ended callbacks of all connections run one after the other as well.
    struct SCallbacks {
        std::function<void(const CEnvelopeConnection::Ptr&)> opened;
        CEnvelopeConnection::FrameCallback frame;
        std::function<void(const CEnvelopeConnection::Ptr&)> ended;
    };

    CTcpServer(CIoThreads& threads, SOptions options, SCallbacks callbacks);

    /// Listens and starts accepting. To be called once.
    /// \return false when listening fails; the reason is published as an event
    bool Start();
    /// Stops accepting and closes all connections; requests whose handling has not begun are dropped. Any thread.
    void Close();
    /// After Close: returns when the last ended callback has returned. Must not be called on the I/O threads.
    void WaitForEnd();
    /// Returns the open connection of the peer, or null. Any thread.
    CEnvelopeConnection::Ptr Find(const std::string& ip, std::uint16_t port) const;
    /// Returns all open connections. Any thread.
    std::vector<CEnvelopeConnection::Ptr> Connections() const;

private:
    void Accept();
    void AcceptLater();
    void Open(asio::ip::tcp::socket socket);
    bool EnsureCapacity();
    void Forget(const CEnvelopeConnection::Ptr& connection);
    void Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason);
    void Publish(STrafficRecord::Kind kind, const std::string& peer, const std::string& text,
                 std::uint64_t connection = 0) const;

    CIoThreads& m_threads;
    const SOptions m_options;
    const SCallbacks m_callbacks;
    const std::shared_ptr<CChannelMemory> m_memory; ///< shared with the connections, which may outlive the server
    asio::steady_timer m_acceptTimer;
    asio::strand<asio::io_context::executor_type> m_notices;
    mutable std::mutex m_mutex; ///< guards the members below
    asio::ip::tcp::acceptor m_acceptor;
    std::map<std::pair<std::string, std::uint16_t>, CEnvelopeConnection::Ptr> m_connections;
    bool m_closing = false;
    std::size_t m_unended = 0; ///< connections whose ended callback has not returned
    std::condition_variable m_allEnded;
    CDeadlineWatch m_deadlines;
};
