#pragma once

#include <QByteArray>
#include <QString>
#include <QWebSocket>
#include <QWebSocketServer>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

/// The cloud service's end of the WebSocket, for one host. Single-threaded; nothing happens outside its calls. What
/// goes wrong is thrown as CFailure, and the peer is of no more use then.
class CCloudPeer {
public:
    using Clock = std::chrono::steady_clock;

    CCloudPeer() = default;
    ~CCloudPeer();
    CCloudPeer(const CCloudPeer&) = delete;
    CCloudPeer& operator=(const CCloudPeer&) = delete;

    /// With a certificate and its key (PEM files) the host must come by wss, without by ws.
    void Listen(const QString& address, std::uint16_t port, const QString& certificateFile, const QString& keyFile);
    /// Waits for the host and returns where it comes from.
    QString Accept(Clock::time_point deadline);
    /// The user that the host logged in as.
    QString User() const;
    void Send(const QByteArray& command);
    /// The next text frame, or none when the deadline passes or an interrupt is heeded. A host that closed is a
    /// failure, once what it sent before has been received.
    std::optional<QByteArray> Receive(Clock::time_point deadline);
    /// Returns when everything that was sent has reached the host, which ends the connection.
    void Close(Clock::time_point deadline);

    /// From now on Ctrl-C (SIGINT) and SIGTERM end Receive instead of the program.
    void HeedInterrupt();
    bool IsInterrupted() const;

private:
    /// Lets the sockets work until it is so; false when the deadline passed before or an interrupt came.
    bool Await(const std::function<bool()>& isSo, Clock::time_point deadline);

    std::unique_ptr<QWebSocketServer> m_server;
    std::unique_ptr<QWebSocket> m_host;
    std::deque<QByteArray> m_received;
};
