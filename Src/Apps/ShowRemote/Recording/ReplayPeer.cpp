#include "ShowRemote/Recording/ReplayPeer.h"

#include "AppServer/AppServerConfig.h"
#include "CentralControl/CentralControlConfig.h"
#include "ExternalController/Common/Command.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/ZXComm.h"
#include "ShowRemote/Console/Failure.h"

#include <asio/buffer.hpp>
#include <asio/write.hpp>

namespace {

std::uint16_t PortOf(TrafficChannel channel)
{
    switch (channel) {
    case TrafficChannel::AppControl:
        return AppServer::kControlPort;
    case TrafficChannel::AppBulk:
        return AppServer::kBulkPort;
    case TrafficChannel::AppDiscovery:
        return AppServer::kDiscoveryPort;
    default:
        return CentralControl::kPort;
    }
}

template <class Protocol>
asio::error_code Connect(typename Protocol::socket& socket, asio::io_context& context, const QString& host,
                         std::uint16_t port)
{
    asio::error_code error;
    const auto found =
        typename Protocol::resolver(context).resolve(Protocol::v4(), host.toStdString(), std::to_string(port), error);
    if (error)
        throw CantResolve(host);
    socket.connect(*found.begin(), error);
    return error;
}

} // namespace

CReplayPeer::CReplayPeer(asio::io_context& context, TrafficChannel channel, const QString& host)
    : m_channel(channel), m_stream(context), m_datagrams(context)
{
    const bool isStream = channel == TrafficChannel::AppControl || channel == TrafficChannel::AppBulk;
    const asio::error_code error = isStream ? Connect<asio::ip::tcp>(m_stream, context, host, PortOf(channel))
                                            : Connect<asio::ip::udp>(m_datagrams, context, host, PortOf(channel));
    if (error)
        throw CantConnect(host, PortOf(channel), error);
    Read();
}

CReplayPeer::CReplayPeer(TrafficChannel channel, asio::ip::tcp::socket socket)
    : m_channel(channel), m_stream(std::move(socket)), m_datagrams(m_stream.get_executor())
{
    Read();
}

CReplayPeer::~CReplayPeer()
{
    *m_self = nullptr;
}

void CReplayPeer::Send(std::uint32_t code, const QByteArray& payload)
{
    if (m_ended)
        return;
    asio::error_code ignored; // the end of the connection is reported by the read
    if (m_datagrams.is_open()) {
        m_datagrams.send(asio::buffer(payload.constData(), static_cast<std::size_t>(payload.size())), 0, ignored);
        return;
    }
    const QByteArray envelope = CAppDataPack(code, payload).GetData();
    asio::write(m_stream, asio::buffer(envelope.constData(), static_cast<std::size_t>(envelope.size())), ignored);
}

void CReplayPeer::Read()
{
    const auto take = [self = m_self](const asio::error_code& error, std::size_t count) {
        CReplayPeer* const peer = *self;
        if (!peer)
            return;
        peer->m_ended = error && peer->m_stream.is_open();
        if (!error)
            peer->TakeBytes({peer->m_buffer.data(), count});
        if (!peer->m_ended && error != asio::error::operation_aborted)
            peer->Read();
    };
    if (m_datagrams.is_open())
        m_datagrams.async_receive(asio::buffer(m_buffer), take);
    else
        m_stream.async_read_some(asio::buffer(m_buffer), take);
}

void CReplayPeer::TakeBytes(std::string_view bytes)
{
    if (m_datagrams.is_open()) {
        m_received.push_back({0, QByteArray(bytes.data(), static_cast<int>(bytes.size()))});
        return;
    }
    const auto result = m_reader.Feed(bytes, [this](std::string_view frame) {
        const std::string_view body = frame.substr(Envelope::kCodeHeaderBytes);
        m_received.push_back({Envelope::ReadNumber(frame.data() + Envelope::kMarkBytes) & ~Command::kReplyBit,
                              QByteArray(body.data(), static_cast<int>(body.size()))});
        return true;
    });
    m_ended = result != CFrameReader::Result::Ok;
}
