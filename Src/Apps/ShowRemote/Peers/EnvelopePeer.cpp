#include "ShowRemote/Peers/EnvelopePeer.h"

#include "Comm/Sockets.h"
#include "ExternalController/Common/Command.h"
#include "Interfaces/AppServer.h"
#include "ShowRemote/Console/Failure.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <csignal>
#include <utility>

namespace {

constexpr std::chrono::seconds kHeartbeatPeriod(1);

QString Closed(Channel channel)
{
    return QStringLiteral("the host closed the %1 channel").arg(NameOf(channel));
}

} // namespace

const char* NameOf(Channel channel)
{
    switch (channel) {
    case Channel::Control:
        return "control";
    case Channel::Bulk:
        return "bulk";
    case Channel::FP:
        break;
    }
    return "FP";
}

std::uint16_t CEnvelopePeer::Connect(Channel channel, const QString& host, Clock::time_point deadline)
{
    const std::uint16_t port = channel == Channel::Control ? AppServer::kControlPort : AppServer::kBulkPort;
    asio::error_code error;
    const auto found = asio::ip::tcp::resolver(m_context).resolve(asio::ip::tcp::v4(), host.toStdString(),
                                                                  std::to_string(port), error);
    if (error)
        throw CantResolve(host);

    SSide& side = SideOf(channel);
    std::optional<asio::error_code> outcome;
    side.socket.async_connect(*found.begin(), [&](const asio::error_code& failure) { outcome = failure; });
    error = Await(side.socket, outcome, deadline);
    if (error)
        throw CantConnect(host, port, error);
    Opened(channel);
    return port;
}

void CEnvelopePeer::Listen(const QString& address, std::uint16_t port)
{
    asio::error_code error;
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(address.toStdString(), error), port);
    if (!error)
        error = ListenAt(m_acceptor, endpoint);
    if (error)
        throw CantListen(address, port, ReasonOf(error));
}

std::optional<QString> CEnvelopePeer::Accept(Channel channel, Clock::time_point deadline)
{
    SSide& side = SideOf(channel);
    std::optional<asio::error_code> outcome;
    m_acceptor.async_accept(side.socket, [&](const asio::error_code& failure) { outcome = failure; });
    asio::error_code error = Await(m_acceptor, outcome, deadline);
    if (error == asio::error::timed_out)
        return std::nullopt;
    if (error)
        throw CFailure("can't accept the host's connection: " + ReasonOf(error));
    m_acceptor.close(error);
    Opened(channel);
    const auto remote = side.socket.remote_endpoint(error);
    return AddressText(QString::fromStdString(remote.address().to_string()), remote.port());
}

void CEnvelopePeer::Opened(Channel channel)
{
    asio::error_code ignored;
    SideOf(channel).socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    ReadOn(channel);
}

void CEnvelopePeer::Send(Channel channel, unsigned int code, const QByteArray& body, Clock::time_point deadline)
{
    const QByteArray envelope = CAppDataPack(code, body).GetData();
    SSide& side = SideOf(channel);
    std::optional<asio::error_code> outcome;
    asio::async_write(side.socket, asio::buffer(envelope.constData(), static_cast<std::size_t>(envelope.size())),
                      [&](const asio::error_code& failure, std::size_t) { outcome = failure; });
    const asio::error_code error = Await(side.socket, outcome, deadline);
    if (error)
        throw CFailure(QStringLiteral("can't send on the %1 channel: %2").arg(NameOf(channel), ReasonOf(error)));
}

std::optional<SMessage> CEnvelopePeer::Receive(Clock::time_point deadline)
{
    do {
        SendHeartbeatIfDue();
        auto message = NextMessage(std::min(deadline, m_heartbeats.next));
        if (message && !IsHeartbeatReply(*message))
            return message;
    } while (!m_interrupted && Clock::now() < deadline);
    return std::nullopt;
}

void CEnvelopePeer::KeepAlive(Channel channel, std::chrono::milliseconds timeout)
{
    m_heartbeats = {channel, timeout, Clock::now(), 0};
}

void CEnvelopePeer::SendHeartbeatIfDue()
{
    if (Clock::now() < m_heartbeats.next)
        return;
    Send(m_heartbeats.channel, Command::Heartbeat, {}, Clock::now() + m_heartbeats.timeout);
    m_heartbeats.next = Clock::now() + kHeartbeatPeriod;
    ++m_heartbeats.unanswered;
}

bool CEnvelopePeer::IsHeartbeatReply(const SMessage& message)
{
    if (m_heartbeats.unanswered == 0 || message.channel != m_heartbeats.channel ||
        message.code != Command::ReplyTo(Command::Heartbeat))
        return false;
    --m_heartbeats.unanswered;
    return true;
}

std::optional<SMessage> CEnvelopePeer::NextMessage(Clock::time_point deadline)
{
    m_context.restart();
    while (m_received.empty()) {
        for (const Channel channel : {Channel::Control, Channel::Bulk, Channel::FP}) {
            SSide& side = SideOf(channel);
            if (!side.ended.isEmpty())
                throw CFailure(side.ended);
            if (std::exchange(side.isPaused, false))
                ReadOn(channel);
        }
        if (m_interrupted || m_context.run_one_until(deadline) == 0)
            return std::nullopt;
    }
    SMessage message = std::move(m_received.front());
    m_received.pop_front();
    return message;
}

void CEnvelopePeer::HeedInterrupt()
{
    m_interrupts.add(SIGINT);
    m_interrupts.add(SIGTERM);
    m_interrupts.async_wait([this](const asio::error_code& error, int) { m_interrupted = !error; });
}

/// Runs the sockets until the operation's handler has set its outcome. At the deadline it closes the operation's
/// socket, so that the handler has always run when this function returns.
template <class Socket>
asio::error_code CEnvelopePeer::Await(Socket& socket, const std::optional<asio::error_code>& outcome,
                                      Clock::time_point deadline)
{
    m_context.restart();
    while (!outcome && m_context.run_one_until(deadline) != 0) {
    }
    if (outcome)
        return *outcome;
    asio::error_code ignored;
    socket.close(ignored);
    while (!outcome)
        m_context.run_one();
    return asio::error::timed_out;
}

void CEnvelopePeer::ReadOn(Channel channel)
{
    SSide& side = SideOf(channel);
    side.socket.async_read_some(
        asio::buffer(side.buffer), [this, channel, &side](const asio::error_code& failure, std::size_t bytes) {
            if (failure)
                side.ended = failure == asio::error::eof ? Closed(channel)
                                                         : Closed(channel) + QStringLiteral(": ") + ReasonOf(failure);
            else
                TakeBytes(channel, {side.buffer.data(), bytes});
            // Limits the memory that messages from a fast host need.
            side.isPaused = side.ended.isEmpty() && !m_received.empty();
            if (side.ended.isEmpty() && !side.isPaused)
                ReadOn(channel);
        });
}

void CEnvelopePeer::TakeBytes(Channel channel, std::string_view bytes)
{
    SSide& side = SideOf(channel);
    const auto result = side.reader.Feed(bytes, [&](std::string_view frame) {
        const std::string_view body = frame.substr(Envelope::kCodeHeaderBytes);
        m_received.push_back({channel, Envelope::ReadNumber(frame.data() + Envelope::kMarkBytes),
                              QByteArray(body.data(), static_cast<int>(body.size()))});
        return true;
    });
    if (result == CFrameReader::Result::WrongMark)
        side.ended = QStringLiteral("received data on the %1 channel that is not an envelope").arg(NameOf(channel));
    else if (result != CFrameReader::Result::Ok)
        side.ended = QStringLiteral("received an envelope on the %1 channel that exceeds the maximum length")
                         .arg(NameOf(channel));
}
