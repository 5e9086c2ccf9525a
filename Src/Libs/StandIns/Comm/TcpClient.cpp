#include "Comm/TcpClient.h"

#include <asio/bind_executor.hpp>
#include <asio/connect.hpp>
#include <asio/post.hpp>

#include <utility>

CTcpClient::CTcpClient(CIoThreads& threads, SOptions options, SCallbacks callbacks)
    : m_threads(threads)
    , m_options(std::move(options))
    , m_callbacks(std::move(callbacks))
    , m_strand(threads.Context().get_executor())
    , m_resolver(threads.Context())
    , m_socket(threads.Context())
    , m_timer(threads.Context())
    , m_pauses(m_options.timeouts.firstPause, m_options.timeouts.longestPause)
    , m_memory(std::make_shared<CChannelMemory>(SChannelLimits(), [this] { return Connections(); }))
    , m_deadlines(threads, m_options.limits.deadline, [this] { return Connections(); })
{}

void CTcpClient::Start()
{
    m_deadlines.Start();
    asio::post(m_strand, [this] { Resolve(); });
}

void CTcpClient::Stop()
{
    std::unique_lock lock(m_mutex);
    m_stopping = true;
    const CEnvelopeConnection::Ptr connection = m_connection;
    lock.unlock();
    if (connection)
        connection->Close("the host stopped the client");
    lock.lock();
    m_ended.wait(lock, [this] { return !m_isUnended; });
}

std::vector<CEnvelopeConnection::Ptr> CTcpClient::Connections() const
{
    const CEnvelopeConnection::Ptr connection = Connection();
    return connection ? std::vector{connection} : std::vector<CEnvelopeConnection::Ptr>();
}

CEnvelopeConnection::Ptr CTcpClient::Connection() const
{
    const std::lock_guard lock(m_mutex);
    return m_connection;
}

void CTcpClient::Resolve()
{
    asio::error_code error;
    const auto address = asio::ip::make_address(m_options.host, error);
    if (!error) {
        Connect({Tcp::endpoint(address, m_options.port)});
        return;
    }
    m_resolver.async_resolve(m_options.host, std::to_string(m_options.port),
                             asio::bind_executor(m_strand, [this](const asio::error_code& failure,
                                                                  const Tcp::resolver::results_type& found) {
                                 if (failure)
                                     Failed(failure);
                                 else
                                     Connect({found.begin(), found.end()});
                             }));
}

void CTcpClient::Connect(const std::vector<Tcp::endpoint>& endpoints)
{
    m_connecting = true;
    asio::async_connect(m_socket, endpoints,
                        asio::bind_executor(m_strand, [this](const asio::error_code& error, const Tcp::endpoint&) {
                            m_connecting = false;
                            // Only the timer aborts the attempt.
                            Connected(error == asio::error::operation_aborted ? asio::error::timed_out : error);
                        }));
    m_timer.expires_after(m_options.timeouts.connect);
    m_timer.async_wait(asio::bind_executor(m_strand, [this](const asio::error_code& error) {
        asio::error_code ignored;
        if (!error && m_connecting)
            m_socket.close(ignored);
    }));
}

void CTcpClient::Connected(const asio::error_code& error)
{
    m_timer.cancel();
    if (error) {
        Failed(error);
        return;
    }
    asio::error_code local, remote;
    const bool isOwnEnd = m_socket.local_endpoint(local) == m_socket.remote_endpoint(remote);
    // When no server listens on a port of this machine, the system may connect the socket to itself.
    if (isOwnEnd && !local && !remote)
        Failed(asio::error::connection_refused);
    else
        Open();
}

void CTcpClient::Open()
{
    m_pauses.Reset();
    m_lastFailure.clear();
    auto connection = std::make_shared<CEnvelopeConnection>(
        m_threads, std::exchange(m_socket, Tcp::socket(m_threads.Context())), m_options.limits, m_memory,
        m_callbacks.frame,
        [this](const CEnvelopeConnection::Ptr& ended, const std::string& reason) { Ended(ended, reason); });
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        m_connection = connection;
        m_isUnended = true;
    }
    Publish(STrafficRecord::Kind::Opened, connection->RemoteText(), {}, connection->Number());
    connection->Start();
}

void CTcpClient::Ended(const CEnvelopeConnection::Ptr& connection, const std::string& reason)
{
    {
        const std::lock_guard lock(m_mutex);
        m_connection.reset();
    }
    Publish(STrafficRecord::Kind::Closed, connection->RemoteText(), reason, connection->Number());
    {
        const CIoThreads::CCallbackScope callbackScope(m_threads);
        m_callbacks.ended(connection);
    }
    {
        const std::lock_guard lock(m_mutex);
        m_isUnended = false;
        m_ended.notify_all();
    }
    asio::post(m_strand, [this] { TryLater(); });
}

void CTcpClient::Failed(const asio::error_code& error)
{
    if (std::exchange(m_lastFailure, error.message()) != error.message())
        Publish(STrafficRecord::Kind::Note, AddressText(m_options.host, m_options.port),
                "connection failed, retrying: " + error.message());
    TryLater();
}

void CTcpClient::TryLater()
{
    asio::error_code ignored;
    m_socket.close(ignored);
    m_timer.expires_after(m_pauses.Next());
    m_timer.async_wait(asio::bind_executor(m_strand, [this](const asio::error_code& error) {
        if (!error)
            Resolve();
    }));
}

void CTcpClient::Publish(STrafficRecord::Kind kind, const std::string& peer, const std::string& text,
                         std::uint64_t connection) const
{
    CTraffic::GetInstance().Publish({kind, m_options.channel, peer, text, connection});
}
