#pragma once

#include "Comm/EnvelopeConnection.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <vector>

/// Has connections look at their deadline again and again.
class CDeadlineWatch {
public:
    using Connections = std::function<std::vector<CEnvelopeConnection::Ptr>()>;

    CDeadlineWatch(CIoThreads& threads, std::chrono::milliseconds deadline, Connections connections);

    void Start();

private:
    const std::chrono::milliseconds m_deadline;
    const Connections m_connections;
    asio::steady_timer m_timer;
};
