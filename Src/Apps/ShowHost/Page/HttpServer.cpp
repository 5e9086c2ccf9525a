#include "ShowHost/Page/HttpServer.h"

#include "ShowHost/Page/HttpRequest.h"

#include <QTimer>
#include <QWebSocket>

#include <algorithm>
#include <utility>

namespace {

constexpr int kMaxHeadBytes = 16 * 1024;
constexpr std::size_t kMaxConnections = 32;
/// Time to send a request, and again to receive the reply.
constexpr int kTimeoutMs = 10'000;
/// The largest message of a page contains a request's body.
constexpr quint64 kMaxMessageBytes = 5 << 20;
/// Otherwise the kernel buffers about 4 MB for a page that doesn't read.
constexpr int kSendBufferBytes = 64 * 1024;

/// Live data is not stored, and other sites can neither run scripts in the page nor embed it or its pictures.
constexpr char kHeaders[] =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self' blob: data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cache-Control: no-store\r\n"
    "Connection: close\r\n";

} // namespace

CHttpServer::CHttpServer(Handler handler, std::function<void(QWebSocket*)> opened)
    : m_handler(std::move(handler))
    , m_opened(std::move(opened))
    , m_webSockets(QStringLiteral("showhost"), QWebSocketServer::NonSecureMode)
{
    connect(&m_server, &QTcpServer::newConnection, this, &CHttpServer::Accept);
    connect(&m_webSockets, &QWebSocketServer::newConnection, this, [this] {
        while (QWebSocket* const socket = m_webSockets.nextPendingConnection()) {
            socket->setMaxAllowedIncomingMessageSize(kMaxMessageBytes);
            socket->setMaxAllowedIncomingFrameSize(kMaxMessageBytes);
            m_opened(socket);
        }
    });
}

void CHttpServer::Accept()
{
    while (QTcpSocket* const socket = m_server.nextPendingConnection()) {
        m_open.erase(std::remove(m_open.begin(), m_open.end(), nullptr), m_open.end());
        m_open.emplace_back(socket);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        auto* const timeout = new QTimer(socket);
        timeout->setSingleShot(true);
        connect(timeout, &QTimer::timeout, socket, &QTcpSocket::abort);
        timeout->start(kTimeoutMs);
        if (m_open.size() > 2 * kMaxConnections) {
            socket->abort();
            continue;
        }
        socket->setReadBufferSize(qint64{2} * kMaxHeadBytes);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, timeout] { Read(socket, timeout); });
        if (socket->bytesAvailable() > 0)
            Read(socket, timeout);
    }
}

std::size_t CHttpServer::OpenCount() const
{
    return m_open.size() - static_cast<std::size_t>(std::count(m_open.begin(), m_open.end(), nullptr));
}

void CHttpServer::Read(QTcpSocket* socket, QTimer* timeout)
{
    // Not consumed: QWebSocketServer reads the head of an upgrade again.
    const QByteArray head = socket->peek(kMaxHeadBytes);
    const int end = head.indexOf("\r\n\r\n");
    if (end < 0 && head.size() < kMaxHeadBytes)
        return;
    const SHttpRequest request = ParseHttpHead(head.left(end));
    const char* refusal = end < 0 ? "431 Request Header Fields Too Large"
                          : OpenCount() > kMaxConnections
                              ? "503 Service Unavailable"
                              : RefusalOf(request, socket->localAddress(), socket->localPort());
    if (!refusal && request.target == "/live")
        return Upgrade(socket, timeout);

    disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
    timeout->start(kTimeoutMs);
    if (refusal)
        return Answer(socket, {refusal}, true);
    const QPointer<QTcpSocket> asker(socket);
    m_handler(request.target, [asker, withBody = request.method != "HEAD"](const SReply& reply) {
        if (asker && asker->state() == QAbstractSocket::ConnectedState)
            Answer(asker, reply, withBody);
    });
}

void CHttpServer::Upgrade(QTcpSocket* socket, QTimer* timeout)
{
    delete timeout;
    disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
    disconnect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    // For a handshake that fails. Otherwise the WebSocket owns the socket, and the server removes this connection.
    connect(socket, &QTcpSocket::disconnected, socket,
            [socket] { QTimer::singleShot(0, socket, &QObject::deleteLater); });
    socket->setReadBufferSize(0);
    socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, kSendBufferBytes);
    m_webSockets.handleConnection(socket);
}

void CHttpServer::Answer(QTcpSocket* socket, const SReply& reply, bool withBody)
{
    socket->write(QByteArray("HTTP/1.1 ") + reply.status + "\r\nContent-Type: " + reply.type +
                  "\r\nContent-Length: " + QByteArray::number(reply.body.size()) + "\r\n" + kHeaders + "\r\n");
    if (withBody)
        socket->write(reply.body);
    socket->disconnectFromHost();
}
