#pragma once

#include "Comm/MemoryBudget.h"

#include <functional>
#include <memory>
#include <vector>

class CEnvelopeConnection;

/// Memory limits for all connections of a channel together, in bytes.
struct SChannelLimits {
    std::size_t maxInputBytes = std::size_t{256} << 20;  ///< received parts of incomplete envelopes
    std::size_t maxOutputBytes = std::size_t{256} << 20; ///< unsent replies
};

/// Enforces the memory limits of one channel: while its connections together exceed a limit, the connection that holds
/// the most memory is closed.
class CChannelMemory {
public:
    /// Returns the open connections of the channel.
    using Connections = std::function<std::vector<std::shared_ptr<CEnvelopeConnection>>()>;

    CChannelMemory(const SChannelLimits& limits, Connections connections);

    CMemoryBudget& Input() { return m_input; }
    CMemoryBudget& Output() { return m_output; }

    /// Closes connections until the others are within the limits. To be called after a share has grown. Any thread, but
    /// not while the mutex of a connection is locked.
    void Relieve()
    {
        if (m_input.IsExceeded() || m_output.IsExceeded())
            CloseLargest();
    }

private:
    void CloseLargest();

    const Connections m_connections;
    CMemoryBudget m_input;
    CMemoryBudget m_output;
};
