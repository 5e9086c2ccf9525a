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

/// The cloud service's end of the WebSocket (RFC 6455), for one host.
///
/// Use it from one thread. Data is sent and received only during calls. The functions throw CFailure if they fail;
/// don't use the peer after that.
class CCloudPeer {
public:
    using Clock = std::chrono::steady_clock;

    CCloudPeer() = default;
    ~CCloudPeer();
    CCloudPeer(const CCloudPeer&) = delete;
    CCloudPeer& operator=(const CCloudPeer&) = delete;

    /// Starts listening: for wss if a certificate and its key (PEM files) are given, for ws if both names are empty.
    void Listen(const QString& address, std::uint16_t port, const QString& certificateFile, const QString& keyFile);
    /// Waits for the host to connect and returns its ADDRESS:PORT, or no value if the deadline passes.
    std::optional<QString> Accept(Clock::time_point deadline);
    /// Returns the user name from the host's connection request.
    QString User() const;
    /// Queues a text frame for the host.
    void Send(const QByteArray& command);
    /// Returns the next text frame, or no value if the deadline passes or an interrupt signal arrives first. Throws
    /// CFailure if the host has closed the connection and all frames have been returned.
    std::optional<QByteArray> Receive(Clock::time_point deadline);
    /// Waits until the host has received all sent frames, then closes the connection.
    void Close(Clock::time_point deadline);

    /// Makes Ctrl-C (SIGINT) and SIGTERM end Receive instead of the program.
    void HeedInterrupt();

private:
    /// Processes events until isSo returns true. Returns false if the deadline passes or an interrupt arrives first.
    bool Await(const std::function<bool()>& isSo, Clock::time_point deadline);

    std::unique_ptr<QWebSocketServer> m_server;
    std::unique_ptr<QWebSocket> m_host;
    std::deque<QByteArray> m_received;
};
