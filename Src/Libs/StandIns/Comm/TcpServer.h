#pragma once

#include "Comm/ChannelEvents.h"
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

/// Accepts connections that carry app envelopes. When there are as many as there may be, a new one takes the place of
/// the one that has been idle longest; one that is handling a request, has unsent replies or is spared
/// (CEnvelopeConnection::Spare) isn't closed for it, and if all are such, the new one is refused.
class CTcpServer {
public:
    struct SOptions {
        std::string channel; ///< its name in events
        std::string address;
        std::uint16_t port = 0;
        SConnectionLimits limits;
        SChannelLimits channelLimits = {};
        std::size_t maxConnections = 1000;
    };
    /// All run on the threads; those of one connection one after the other, opened first and ended last. Opened and
    /// ended of all connections run one after the other too.
    struct SCallbacks {
        std::function<void(const CEnvelopeConnection::Ptr&)> opened;
        CEnvelopeConnection::FrameCallback frame;
        std::function<void(const CEnvelopeConnection::Ptr&)> ended;
    };

    CTcpServer(CIoThreads& threads, SOptions options, SCallbacks callbacks);

    /// Listens and accepts; false when the address can't be had, which is told as an event.
    bool Start();
    /// Accepts no further connection and closes all; requests that are not yet being handled are dropped. Any thread.
    void Close();
    /// After Close: returns when the last ended callback has returned. Not to be called on the threads.
    void WaitForEnd();
    /// The open connection of this peer, or null.
    CEnvelopeConnection::Ptr Find(const std::string& ip, std::uint16_t port) const;
    std::vector<CEnvelopeConnection::Ptr> Connections() const;

private:
    void Accept();
    void AcceptLater();
    void Open(asio::ip::tcp::socket socket);
    bool MakeRoom();
    void Forget(const CEnvelopeConnection::Ptr& connection);
    void Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason);
    void Publish(SChannelEvent::Kind kind, const std::string& peer, const std::string& text) const;

    CIoThreads& m_threads;
    const SOptions m_options;
    const SCallbacks m_callbacks;
    const std::shared_ptr<CChannelMemory> m_memory; ///< shared with the connections, which may outlive the server
    asio::steady_timer m_acceptTimer;
    asio::strand<asio::io_context::executor_type> m_notices;
    mutable std::mutex m_mutex; ///< guards what follows
    asio::ip::tcp::acceptor m_acceptor;
    std::map<std::pair<std::string, std::uint16_t>, CEnvelopeConnection::Ptr> m_connections;
    bool m_closing = false;
    std::size_t m_unended = 0; ///< connections whose ended callback has not returned
    std::condition_variable m_allEnded;
    CDeadlineWatch m_deadlines;
};
