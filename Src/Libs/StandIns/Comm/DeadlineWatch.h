#pragma once

#include "Comm/EnvelopeConnection.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <vector>

/// Calls CEnvelopeConnection::CheckDeadline periodically, ten times per deadline, on the I/O threads.
class CDeadlineWatch {
public:
    /// Returns the connections to check.
    using Connections = std::function<std::vector<CEnvelopeConnection::Ptr>()>;

    CDeadlineWatch(CIoThreads& threads, std::chrono::milliseconds deadline, Connections connections);

    /// Starts the periodic checks. They end with the I/O threads.
    void Start();

private:
    const std::chrono::milliseconds m_deadline;
    const Connections m_connections;
    asio::steady_timer m_timer;
};
