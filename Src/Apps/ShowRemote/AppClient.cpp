#include "ShowRemote/AppClient.h"

#include "Interfaces/ZXComm.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/SocketErrors.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>

#include <csignal>
#include <utility>

namespace {

std::uint16_t PortOf(AppServer::Channel channel)
{
    return channel == AppServer::Control ? AppServer::kControlPort : AppServer::kBulkPort;
}

QString Closed(AppServer::Channel channel)
{
    return QStringLiteral("the host closed the %1 channel").arg(NameOf(channel));
}

} // namespace

const char* NameOf(AppServer::Channel channel)
{
    return channel == AppServer::Control ? "control" : "bulk";
}

CAppClient::CAppClient(QString host) : m_host(std::move(host)) {}

void CAppClient::Connect(AppServer::Channel channel, Clock::time_point deadline)
{
    asio::error_code error;
    const auto found = asio::ip::tcp::resolver(m_context).resolve(asio::ip::tcp::v4(), m_host.toStdString(),
                                                                  std::to_string(PortOf(channel)), error);
    if (error)
        throw CFailure(CantFind(m_host));

    SSide& side = SideOf(channel);
    std::optional<asio::error_code> outcome;
    side.socket.async_connect(*found.begin(), [&](const asio::error_code& failure) { outcome = failure; });
    error = Await(side, outcome, deadline);
    if (error)
        throw CFailure(CantConnect(m_host, PortOf(channel), error));
    side.socket.set_option(asio::ip::tcp::no_delay(true), error);
    ReadOn(channel);
}

void CAppClient::Send(AppServer::Channel channel, unsigned int code, const QByteArray& body, Clock::time_point deadline)
{
    const QByteArray envelope = CAppDataPack(code, body).GetData();
    SSide& side = SideOf(channel);
    std::optional<asio::error_code> outcome;
    asio::async_write(side.socket, asio::buffer(envelope.constData(), static_cast<std::size_t>(envelope.size())),
                      [&](const asio::error_code& failure, std::size_t) { outcome = failure; });
    const asio::error_code error = Await(side, outcome, deadline);
    if (error)
        throw CFailure(QStringLiteral("can't send on the %1 channel: %2").arg(NameOf(channel), ReasonOf(error)));
}

std::optional<SAppMessage> CAppClient::Receive(Clock::time_point deadline)
{
    m_context.restart();
    while (m_received.empty()) {
        for (const SSide& side : m_sides) {
            if (!side.ended.isEmpty())
                throw CFailure(side.ended);
        }
        if (m_interrupted || m_context.run_one_until(deadline) == 0)
            return std::nullopt;
    }
    SAppMessage message = std::move(m_received.front());
    m_received.pop_front();
    return message;
}

void CAppClient::HeedInterrupt()
{
    m_interrupts.add(SIGINT);
    m_interrupts.add(SIGTERM);
    m_interrupts.async_wait([this](const asio::error_code& error, int) { m_interrupted = !error; });
}

/// Lets the sockets work until the operation's handler has set its outcome. An operation that takes too long is ended
/// by closing its socket, so that the handler has run in any case when this returns.
asio::error_code CAppClient::Await(SSide& side, const std::optional<asio::error_code>& outcome,
                                   Clock::time_point deadline)
{
    m_context.restart();
    while (!outcome && m_context.run_one_until(deadline) != 0) {
    }
    if (outcome)
        return *outcome;
    asio::error_code ignored;
    side.socket.close(ignored);
    while (!outcome)
        m_context.run_one();
    return asio::error::timed_out;
}

void CAppClient::ReadOn(AppServer::Channel channel)
{
    SSide& side = SideOf(channel);
    side.socket.async_read_some(
        asio::buffer(side.buffer), [this, channel, &side](const asio::error_code& failure, std::size_t bytes) {
            if (failure)
                side.ended = failure == asio::error::eof ? Closed(channel)
                                                         : Closed(channel) + QStringLiteral(": ") + ReasonOf(failure);
            else
                TakeBytes(channel, {side.buffer.data(), bytes});
            if (side.ended.isEmpty())
                ReadOn(channel);
        });
}

void CAppClient::TakeBytes(AppServer::Channel channel, std::string_view bytes)
{
    SSide& side = SideOf(channel);
    const auto verdict = side.reader.Feed(bytes, [&](std::string_view frame) {
        const std::string_view body = frame.substr(Envelope::kCodeHeaderBytes);
        m_received.push_back({channel, Envelope::ReadNumber(frame.data() + Envelope::kMarkBytes),
                              QByteArray(body.data(), static_cast<int>(body.size()))});
        return true;
    });
    if (verdict == CFrameReader::Verdict::WrongMark)
        side.ended = QStringLiteral("what came on the %1 channel is no envelope").arg(NameOf(channel));
    else if (verdict != CFrameReader::Verdict::Sound)
        side.ended = QStringLiteral("an envelope on the %1 channel claims to be too long").arg(NameOf(channel));
}
