#pragma once

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

/// Calls once, on a thread of its own, when the process is asked to end (SIGINT, SIGTERM).
class CShutdownSignals {
public:
    explicit CShutdownSignals(std::function<void()> asked);
    ~CShutdownSignals();
    CShutdownSignals(const CShutdownSignals&) = delete;
    CShutdownSignals& operator=(const CShutdownSignals&) = delete;

private:
    asio::io_context m_context;
    asio::signal_set m_signals;
    std::thread m_thread;
};

/// Limits the time that the process takes to end: a request that doesn't return can't be interrupted, only abandoned.
class CShutdownDeadline {
public:
    /// \param expired reports that the process ends regardless; called on a thread of its own
    /// \param limit   for the requests that are being handled; whoever supervises the host should not have to wait 2 s
    explicit CShutdownDeadline(std::function<void()> expired,
                               std::chrono::milliseconds limit = std::chrono::milliseconds(1500));
    /// The process has come to its end in time.
    ~CShutdownDeadline();
    CShutdownDeadline(const CShutdownDeadline&) = delete;
    CShutdownDeadline& operator=(const CShutdownDeadline&) = delete;

    /// The limit begins. When it is over the process ends with this exit code, without destructors. A later call changes
    /// the exit code, not the time. Any thread.
    void Start(int exitCode);

private:
    void Watch();

    const std::function<void()> m_expired;
    const std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::optional<int> m_exitCode; ///< set: the time is running
    bool m_done = false;
    std::thread m_thread;
};
