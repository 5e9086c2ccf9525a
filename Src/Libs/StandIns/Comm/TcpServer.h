#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/DeadlineWatch.h"
#include "Comm/EnvelopeConnection.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

/// Accepts connections that carry app envelopes.
class CTcpServer {
public:
    struct SOptions {
        std::string channel; ///< its name in events
        std::string address;
        std::uint16_t port = 0;
        SConnectionLimits limits;
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
    /// The open connection of this peer, or null.
    CEnvelopeConnection::Ptr Find(const std::string& ip, std::uint16_t port) const;
    std::vector<CEnvelopeConnection::Ptr> Connections() const;

private:
    void Accept();
    void AcceptLater();
    void Open(asio::ip::tcp::socket socket);
    void Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason);
    void Tell(SChannelEvent::Kind kind, const std::string& peer, const std::string& text) const;

    CIoThreads& m_threads;
    const SOptions m_options;
    const SCallbacks m_callbacks;
    asio::ip::tcp::acceptor m_acceptor;
    asio::steady_timer m_acceptTimer;
    asio::strand<asio::io_context::executor_type> m_notices;
    mutable std::mutex m_mutex;
    std::map<std::pair<std::string, std::uint16_t>, CEnvelopeConnection::Ptr> m_connections;
    CDeadlineWatch m_deadlines;
};
