#pragma once

#include <QHostAddress>
#include <QJsonObject>
#include <QTcpSocket>
#include <QUdpSocket>

/// Sends requests to this host's channels as a remote does, for one page. The page finds the replies in the records of
/// the traffic. On one thread only.
class CPageRemote : public QObject {
public:
    CPageRemote();

    /// Sends a request. Opens the connections at the first one.
    /// \param channel "app control", "app bulk" or "central control"
    /// \param code    the request's code; not used for central control
    /// \param text    the request's body
    /// \return "peer": the address under which the host receives it; or "error"
    QJsonObject Send(const QString& channel, quint32 code, const QString& text);

private:
    QJsonObject SendEnvelope(QTcpSocket& socket, quint32 code, const QByteArray& body);
    bool Connect(QTcpSocket& socket, quint16 port);

    const QHostAddress m_host;
    QTcpSocket m_control;
    QTcpSocket m_bulk;
    QUdpSocket m_central;
};
