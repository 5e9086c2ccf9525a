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
    /// expired: reports that the process ends regardless, on a thread of its own.
    explicit CShutdownDeadline(std::function<void()> expired);
    /// The process has come to its end in time.
    ~CShutdownDeadline();
    CShutdownDeadline(const CShutdownDeadline&) = delete;
    CShutdownDeadline& operator=(const CShutdownDeadline&) = delete;

    /// From now on 1.5 s are left, after which the process ends with this exit code, without destructors. Only the
    /// first call starts the time; a later one changes the exit code. Any thread.
    void Start(int exitCode);

private:
    void Watch();

    const std::function<void()> m_expired;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::optional<int> m_exitCode; ///< set: the time is running
    bool m_done = false;
    std::thread m_thread;
};
