#pragma once

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

/// Waits for SIGINT or SIGTERM on its own thread.
class CShutdownSignals {
public:
    /// \param asked called at the first signal, on this object's thread; later signals are ignored
    explicit CShutdownSignals(std::function<void()> asked);
    ~CShutdownSignals();
    CShutdownSignals(const CShutdownSignals&) = delete;
    CShutdownSignals& operator=(const CShutdownSignals&) = delete;

private:
    asio::io_context m_context;
    asio::signal_set m_signals;
    std::thread m_thread;
};

/// Limits the duration of a shutdown. A request that doesn't return can't be interrupted: at the limit the process
/// exits.
class CShutdownDeadline {
public:
    /// \param expired called at the limit, on a separate thread, to report that the process exits
    /// \param limit   time for the active requests; the default lets the process exit within 2 s
    explicit CShutdownDeadline(std::function<void()> expired,
                               std::chrono::milliseconds limit = std::chrono::milliseconds(1500));
    /// Cancels the limit.
    ~CShutdownDeadline();
    CShutdownDeadline(const CShutdownDeadline&) = delete;
    CShutdownDeadline& operator=(const CShutdownDeadline&) = delete;

    /// Starts the time limit. At the limit the process exits with this code, without running destructors. A second call
    /// changes the exit code, but not the limit. Any thread.
    void Start(int exitCode);

private:
    void Watch();

    const std::function<void()> m_expired;
    const std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::optional<int> m_exitCode; ///< has a value after Start
    bool m_done = false;
    std::thread m_thread;
};
