#include "ShowHost/Page/PageRemote.h"

#include "AppServer/AppServerConfig.h"
#include "CentralControl/CentralControlConfig.h"
#include "CloudControl/CloudCommand.h"
#include "CloudControl/CloudControlConfig.h"
#include "FPClient/FPClientConfig.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/ZXComm.h"
#include "ShowHost/Page/HttpRequest.h"

namespace {

/// The connection is to this computer.
constexpr int kConnectMs = 1000;

QHostAddress HostAddress()
{
    const QHostAddress listens(QString::fromStdString(AppServer::Config().Get().listenAddress));
    const bool isAny = listens == QHostAddress::AnyIPv4 || listens == QHostAddress::AnyIPv6;
    return isAny ? QHostAddress(QHostAddress::LocalHost) : listens;
}

template <class Socket>
QJsonObject PeerOf(const Socket& socket)
{
    return {{"peer", QString::fromLatin1(AuthorityOf(socket.localAddress(), socket.localPort()))}};
}

QJsonObject ResultOf(bool isReceived, const char* error)
{
    return isReceived ? QJsonObject() : QJsonObject{{"error", error}};
}

} // namespace

CPageRemote::CPageRemote() : m_host(HostAddress())
{
    const auto discard = [](auto& socket) {
        QObject::connect(&socket, &QIODevice::readyRead, &socket, [&socket] { socket.readAll(); });
    };
    discard(m_control);
    discard(m_bulk);
    // Datagrams are not read: the system drops those that its buffer doesn't hold.
}

QJsonObject CPageRemote::Send(const QString& channel, quint32 code, const QString& text)
{
    const QByteArray body = text.toUtf8();
    if (channel == QLatin1String("central control"))
        return SendDatagram(m_central, CentralControl::kPort, body);
    if (channel == QLatin1String("app discovery"))
        return SendDatagram(m_discovery, AppServer::kDiscoveryPort, body);
    if (channel == QLatin1String("FP"))
        return ResultOf(FPClient::Receive(CAppDataPack(code, body).GetData().toStdString(), kNote),
                        "no FP controller is connected");
    if (channel == QLatin1String("cloud")) {
        QString refusal;
        CloudCommand::Read(body, refusal);
        if (!refusal.isEmpty())
            return {{"error", "the host ignores this frame of the cloud service: " + refusal}};
        return ResultOf(CloudControl::Receive(body.toStdString(), kNote), "the cloud service is not connected");
    }
    // Pictures come on the bulk channel, whichever channel the request is sent on.
    if (!Connect(m_control, AppServer::kControlPort) || !Connect(m_bulk, AppServer::kBulkPort))
        return {{"error", "can't connect to the app server: " + m_control.errorString()}};
    return SendEnvelope(channel == QLatin1String("app bulk") ? m_bulk : m_control, code, body);
}

QJsonObject CPageRemote::SendDatagram(QUdpSocket& socket, quint16 port, const QByteArray& datagram)
{
    if (socket.state() != QAbstractSocket::ConnectedState) {
        socket.connectToHost(m_host, port);
        socket.waitForConnected(kConnectMs);
    }
    if (socket.write(datagram) < 0)
        return {{"error", socket.errorString()}};
    return PeerOf(socket);
}

bool CPageRemote::Connect(QTcpSocket& socket, quint16 port)
{
    if (socket.state() == QAbstractSocket::ConnectedState)
        return true;
    socket.abort();
    socket.connectToHost(m_host, port);
    return socket.waitForConnected(kConnectMs);
}

QJsonObject CPageRemote::SendEnvelope(QTcpSocket& socket, quint32 code, const QByteArray& body)
{
    socket.write(CAppDataPack(code, body).GetData());
    return PeerOf(socket);
}
