#pragma once

#include "Comm/MemoryBudget.h"

#include <functional>
#include <memory>
#include <vector>

class CEnvelopeConnection;

/// What all connections of a channel may hold together, in bytes.
struct SChannelLimits {
    std::size_t maxInputBytes = std::size_t{256} << 20;  ///< of envelopes that are not complete
    std::size_t maxOutputBytes = std::size_t{256} << 20; ///< of replies that are not sent
};

/// The memory of one channel: when its connections hold too much together, those that hold the most are closed.
class CChannelMemory {
public:
    using Connections = std::function<std::vector<std::shared_ptr<CEnvelopeConnection>>()>;

    CChannelMemory(const SChannelLimits& limits, Connections connections);

    CMemoryBudget& Input() { return m_input; }
    CMemoryBudget& Output() { return m_output; }

    /// Closes connections until the rest is within the limits. Called after a share has grown, on any thread, but not
    /// under the lock of a connection.
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
