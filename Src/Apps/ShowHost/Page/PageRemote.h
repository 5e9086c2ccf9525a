#pragma once

#include <QHostAddress>
#include <QJsonObject>
#include <QTcpSocket>
#include <QUdpSocket>

/// Sends requests to this host's channels as a remote does, for one page. The page finds the replies in the records of
/// the traffic. On one thread only.
class CPageRemote : public QObject {
public:
    /// In the records of the requests that are not sent through a socket; see send.js.
    static constexpr char kNote[] = "sent from the stage page";

    CPageRemote();

    /// Sends a request. Opens the connections at the first one. The FP controller and the cloud service are servers, so
    /// a request of theirs is handled as if it had arrived on the host's connection to them, with the note kNote.
    /// \param channel "app control", "app bulk", "app discovery", "central control", "FP" or "cloud"
    /// \param code    the request's code; used for channels with codes only
    /// \param text    the request's body
    /// \return "peer": the address under which the host receives it; or "error"
    QJsonObject Send(const QString& channel, quint32 code, const QString& text);

private:
    QJsonObject SendDatagram(QUdpSocket& socket, quint16 port, const QByteArray& datagram);
    QJsonObject SendEnvelope(QTcpSocket& socket, quint32 code, const QByteArray& body);
    bool Connect(QTcpSocket& socket, quint16 port);

    const QHostAddress m_host;
    QTcpSocket m_control;
    QTcpSocket m_bulk;
    QUdpSocket m_central;
    QUdpSocket m_discovery;
};
