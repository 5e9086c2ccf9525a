#pragma once

#include "ShowHost/Page/LivePages.h"

#include <QHostAddress>
#include <QString>

#include <atomic>
#include <thread>

/// Serves the stage page on a thread of its own: the page's files, /contract.json, pictures, /metrics, and the
/// WebSocket /live.
class CPageServer {
public:
    /// Starts the thread and waits until it listens or has failed.
    /// \param actions       called on the thread
    /// \param wantsMessages whether messages are stored and counted also while no page is open, before /metrics has
    ///                      been read
    CPageServer(const QHostAddress& address, quint16 port, CLivePages::SActions actions, bool wantsMessages);
    /// Closes all connections and waits for the thread.
    ~CPageServer();
    CPageServer(const CPageServer&) = delete;
    CPageServer& operator=(const CPageServer&) = delete;

    /// The reason why the server doesn't listen; empty if it does.
    const QString& Error() const { return m_error; }

private:
    void Run(const QHostAddress& address, quint16 port, const CLivePages::SActions& actions,
             const std::function<void(const QString& error)>& started);

    CTrafficRing m_ring;
    std::atomic<bool> m_stops{false};
    QString m_error;
    std::thread m_thread;
};
