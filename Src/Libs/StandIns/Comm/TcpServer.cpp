#include "Comm/TcpServer.h"

#include "Comm/Sockets.h"

#include <asio/post.hpp>

#include <chrono>
#include <optional>

namespace {

/// Pause after accept has failed, for example because the process has no free descriptor.
constexpr std::chrono::milliseconds kAcceptPause(100);

} // namespace

CTcpServer::CTcpServer(CIoThreads& threads, SOptions options, SCallbacks callbacks)
    : m_threads(threads)
    , m_options(std::move(options))
    , m_callbacks(std::move(callbacks))
    , m_memory(std::make_shared<CChannelMemory>(m_options.channelLimits, [this] { return Connections(); }))
    , m_acceptTimer(threads.Context())
    , m_notices(threads.Context().get_executor())
    , m_acceptor(threads.Context())
    , m_deadlines(threads, m_options.limits.deadline, [this] { return Connections(); })
{}

bool CTcpServer::Start()
{
    asio::error_code error;
    const auto address = asio::ip::make_address(m_options.address, error);
    if (!error)
        error = ListenAt(m_acceptor, {address, m_options.port});
    const std::string text = AddressText(m_options.address, m_options.port);
    if (error) {
        Publish(STrafficRecord::Kind::Failed, {}, text + ": " + error.message());
        return false;
    }
    Publish(STrafficRecord::Kind::Listening, {}, text);
    Accept();
    m_deadlines.Start();
    return true;
}

void CTcpServer::Close()
{
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
        asio::error_code ignored;
        m_acceptor.close(ignored);
    }
    for (const CEnvelopeConnection::Ptr& connection : Connections())
        connection->Close("the host stopped the server");
}

void CTcpServer::WaitForEnd()
{
    std::unique_lock lock(m_mutex);
    m_allEnded.wait(lock, [this] { return m_unended == 0; });
}

void CTcpServer::Accept()
{
    const std::lock_guard lock(m_mutex);
    if (m_closing)
        return;
    m_acceptor.async_accept([this](const asio::error_code& error, asio::ip::tcp::socket socket) {
        if (error == asio::error::operation_aborted)
            return;
        if (error == asio::error::no_descriptors || error == asio::error::no_buffer_space ||
            error == asio::error::no_memory) {
            Publish(STrafficRecord::Kind::Note, {}, "can't accept: " + error.message());
            AcceptLater();
            return;
        }
        if (!error)
            Open(std::move(socket));
        Accept();
    });
}

void CTcpServer::AcceptLater()
{
    m_acceptTimer.expires_after(kAcceptPause);
    m_acceptTimer.async_wait([this](const asio::error_code& error) {
        if (!error)
            Accept();
    });
}

void CTcpServer::Open(asio::ip::tcp::socket socket)
{
    auto connection = std::make_shared<CEnvelopeConnection>(
        m_threads, std::move(socket), m_options.limits, m_memory, m_callbacks.frame,
        [this](const CEnvelopeConnection::Ptr& ended, const std::string& reason) { Ended(ended, reason); });
    if (!EnsureCapacity()) {
        Publish(STrafficRecord::Kind::Note, connection->RemoteText(),
                "refused: " + std::to_string(m_options.maxConnections) + " connections are open and none is idle");
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_closing)
            return;
        m_connections[{connection->RemoteIp(), connection->RemotePort()}] = connection;
        ++m_unended;
    }
    asio::post(m_notices, [this, connection] {
        Publish(STrafficRecord::Kind::Opened, connection->RemoteText(), {}, connection->Number());
        const CIoThreads::CCallbackScope callbackScope(m_threads);
        m_callbacks.opened(connection);
        connection->Start();
    });
}

/// Closes the longest idle connection if the maximum is reached. Returns false when none may be closed.
bool CTcpServer::EnsureCapacity()
{
    const auto connections = Connections();
    if (connections.size() < m_options.maxConnections)
        return true;
    CEnvelopeConnection::Ptr longestIdle;
    auto idleSince = CEnvelopeConnection::Clock::time_point::max();
    for (const CEnvelopeConnection::Ptr& connection : connections) {
        const auto since = connection->IsProtected() ? std::nullopt : connection->IdleSince();
        if (since && *since < idleSince) {
            longestIdle = connection;
            idleSince = *since;
        }
    }
    if (!longestIdle)
        return false;
    longestIdle->Close("idle for the longest time, replaced by a new connection");
    Forget(longestIdle);
    return true;
}

void CTcpServer::Forget(const CEnvelopeConnection::Ptr& connection)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_connections.find({connection->RemoteIp(), connection->RemotePort()});
    // The peer may have connected again from the same port in the meantime.
    if (found != m_connections.end() && found->second == connection)
        m_connections.erase(found);
}

void CTcpServer::Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason)
{
    Forget(connection);
    asio::post(m_notices, [this, connection, reason] {
        Publish(STrafficRecord::Kind::Closed, connection->RemoteText(), reason, connection->Number());
        {
            const CIoThreads::CCallbackScope callbackScope(m_threads);
            m_callbacks.ended(connection);
        }
        const std::lock_guard lock(m_mutex);
        if (--m_unended == 0)
            m_allEnded.notify_all();
    });
}

CEnvelopeConnection::Ptr CTcpServer::Find(const std::string& ip, std::uint16_t port) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_connections.find({ip, port});
    return found == m_connections.end() ? nullptr : found->second;
}

std::vector<CEnvelopeConnection::Ptr> CTcpServer::Connections() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<CEnvelopeConnection::Ptr> connections;
    connections.reserve(m_connections.size());
    for (const auto& [remote, connection] : m_connections)
        connections.push_back(connection);
    return connections;
}

void CTcpServer::Publish(STrafficRecord::Kind kind, const std::string& peer, const std::string& text,
                         std::uint64_t connection) const
{
    CTraffic::GetInstance().Publish({kind, m_options.channel, peer, text, connection});
}
