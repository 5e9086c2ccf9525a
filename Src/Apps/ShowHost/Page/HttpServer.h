#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebSocketServer>

#include <functional>
#include <vector>

class QTimer;
class QWebSocket;

/// A server of HTTP/1.1 (RFC 9112) that answers one request per connection and passes WebSockets at /live on (RFC
/// 6455). To be created, used and destroyed on one thread, which has an event loop.
class CHttpServer : public QObject {
public:
    struct SReply {
        const char* status = "200 OK";
        const char* type = "text/plain; charset=utf-8";
        QByteArray body = {};
    };
    using Send = std::function<void(const SReply&)>;
    /// Handles a GET request: calls send once, at once or later on the same thread.
    /// \param target path and query
    using Handler = std::function<void(const QByteArray& target, Send send)>;

    CHttpServer(Handler handler, std::function<void(QWebSocket*)> opened);

    /// Returns whether the server listens.
    bool Listen(const QHostAddress& address, quint16 port) { return m_server.listen(address, port); }
    QString Error() const { return m_server.errorString(); }

private:
    void Accept();
    std::size_t OpenCount() const;
    void Read(QTcpSocket* socket, QTimer* timeout);
    void Upgrade(QTcpSocket* socket, QTimer* timeout);
    static void Answer(QTcpSocket* socket, const SReply& reply, bool withBody);

    Handler m_handler;
    std::function<void(QWebSocket*)> m_opened;
    /// WebSockets included. Not counted with a signal: the WebSocket server removes all connections of its sockets.
    std::vector<QPointer<QTcpSocket>> m_open;
    QTcpServer m_server;
    QWebSocketServer m_webSockets;
};
