#pragma once

#include "CloudControl/CloudControlConfig.h"
#include "CloudControl/CloudOutbox.h"
#include "Comm/BackOff.h"

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

/// The WebSocket to the cloud. It lives on a thread with an event loop; what other threads want of it they ask by the
/// functions that say so, and it does it there.
class CCloudLink : public QObject {
public:
    /// On the link's thread.
    struct SCallbacks {
        /// A text frame of at most CloudControl::kMaxCommandBytes.
        std::function<void(const QByteArray& frame)> received;
        /// The connection, or the try for one.
        std::function<void()> ended;
    };

    CCloudLink(CCloudOutbox& outbox, SCallbacks callbacks);
    ~CCloudLink() override;

    // Any thread.
    void Connect(const QUrl& url, const SCloudControlConfig& config);
    void Close();
    /// Tells in the log whether the service lets such a user in.
    void Validate(const QUrl& url, const SCloudControlConfig& config);
    /// There is something in the outbox.
    void Send();
    /// Whether there is a connection, or one is tried for.
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
    void TakeConnected();
    void TakeText(const QByteArray& frame);
    void TakeEnd(const QString& why);
    void Ping();
    void SendWaiting();
    void StartValidation(const STarget& target);

    CCloudOutbox& m_outbox;
    const SCallbacks m_callbacks;

    std::mutex m_mutex;                            ///< guards what other threads ask for
    std::optional<std::optional<STarget>> m_asked; ///< a new target, or none
    std::optional<STarget> m_toValidate;

    std::optional<STarget> m_target; ///< without one the link stays closed
    QWebSocket m_socket;
    QTimer m_retry;
    QTimer m_ping;
    CBackOff m_pauses{std::chrono::milliseconds(0), std::chrono::milliseconds(0)};
    bool m_hasAnswered = false; ///< since the last ping, or to the handshake
    bool m_isOpen = false;      ///< from Open to its end, so that an end is taken once
    bool m_isConnected = false;
    std::atomic<bool> m_isWanted{false};
};
