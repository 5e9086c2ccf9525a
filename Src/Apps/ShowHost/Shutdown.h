#pragma once

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include <functional>
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
