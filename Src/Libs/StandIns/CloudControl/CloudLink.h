#pragma once

#include "CloudControl/CloudControlConfig.h"
#include "CloudControl/CloudOutbox.h"
#include "Comm/BackOff.h"
#include "Traffic/Traffic.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QWebSocket>

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The WebSocket (RFC 6455) to the cloud service. It connects again after a failure or when the connection has ended.
///
/// The object lives on a thread with an event loop. Other threads may call the functions marked so; they store the
/// request, and the object's thread executes it.
class CCloudLink : public QObject {
public:
    /// All run on the thread of the object.
    struct SCallbacks {
        /// Receives a text frame of at most CloudControl::kMaxCommandBytes, and its record without the payload.
        std::function<void(const QByteArray& frame, STrafficRecord record)> received;
        /// Called when the connection, or the attempt to connect, has ended.
        std::function<void()> ended;
    };

    CCloudLink(CCloudOutbox& outbox, SCallbacks callbacks);
    ~CCloudLink() override;

    // Any thread may call the following functions; they return at once.

    /// Closes the current connection and connects to the URL.
    void Connect(const QUrl& url, const SCloudControlConfig& config);
    /// Closes the connection and stops connecting.
    void Close();
    /// Opens a second connection to check the login in the URL, logs the result and closes it.
    void Validate(const QUrl& url, const SCloudControlConfig& config);
    /// Ends the connection without a closing handshake, then connects again.
    /// \param reason in the traffic record of the end
    void Abort(const std::string& reason);
    /// Handles a frame as if the service had sent it.
    /// \param note in the record of the frame
    /// \return false if there is no connection
    bool Receive(QByteArray frame, const std::string& note);
    /// To be called when a message was added to the outbox.
    void Send();
    /// Whether there is a connection or an attempt to connect.
    bool IsWanted() const { return m_isWanted; }

protected:
    void customEvent(QEvent* event) override;

private:
    struct STarget {
        QUrl url;
        SCloudControlConfig config;
    };

    void Wake();
    void Open();
    void OnConnected();
    void OnText(const QByteArray& frame, const std::string& note);
    void OnEnded(const QString& why);
    void Ping();
    void SendWaiting();
    void StartValidation(const STarget& target);
    void Publish(STrafficRecord::Kind kind, const QString& text) const;
    STrafficRecord Record(STrafficRecord::From from) const;

    CCloudOutbox& m_outbox;
    const SCallbacks m_callbacks;

    std::mutex m_mutex;                                      ///< guards the requests of other threads
    std::optional<std::optional<STarget>> m_requestedTarget; ///< a requested change: a new target, or nullopt to close
    std::optional<STarget> m_toValidate;
    std::optional<std::string> m_abortReason;
    std::vector<std::pair<QByteArray, std::string>> m_insertedFrames; ///< with their notes

    std::optional<STarget> m_target; ///< nullopt: not to be connected
    QWebSocket m_socket;
    QTimer m_retry;
    QTimer m_ping;
    CBackOff m_pauses{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};
    bool m_hasAnswered = false;             ///< the peer has replied since the last ping
    bool m_isOpen = false;                  ///< from Open to OnEnded, so that an end is handled once
    std::uint64_t m_number = 0;             ///< of the connection, in traffic records
    std::atomic<bool> m_isConnected{false}; ///< the handshake is complete
    std::atomic<bool> m_isWanted{false};
};
