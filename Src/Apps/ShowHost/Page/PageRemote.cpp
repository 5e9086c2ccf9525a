#include "ShowHost/Page/PageRemote.h"

#include "AppServer/AppServerConfig.h"
#include "CentralControl/CentralControlConfig.h"
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
    if (channel == QLatin1String("central control")) {
        if (m_central.state() != QAbstractSocket::ConnectedState) {
            m_central.connectToHost(m_host, CentralControl::kPort);
            m_central.waitForConnected(kConnectMs);
        }
        if (m_central.write(text.toUtf8()) < 0)
            return {{"error", m_central.errorString()}};
        return PeerOf(m_central);
    }
    // Pictures come on the bulk channel, whichever channel the request is sent on.
    if (!Connect(m_control, AppServer::kControlPort) || !Connect(m_bulk, AppServer::kBulkPort))
        return {{"error", "can't connect to the app server: " + m_control.errorString()}};
    return SendEnvelope(channel == QLatin1String("app bulk") ? m_bulk : m_control, code, text.toUtf8());
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
