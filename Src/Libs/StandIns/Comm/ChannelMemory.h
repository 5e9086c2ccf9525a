#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

class CEnvelopeConnection;

/// Counts the bytes that several holders use together, and compares them with one limit. Does not allocate or free
/// anything itself. Any thread.
class CMemoryBudget {
public:
    explicit CMemoryBudget(std::size_t maxBytes) : m_maxBytes(maxBytes) {}

    bool IsExceeded() const { return m_bytes.load(std::memory_order_relaxed) > m_maxBytes; }

    /// The bytes of one holder; the destructor returns them to the budget. Must not outlive the budget.
    class CShare {
    public:
        explicit CShare(CMemoryBudget& budget) : m_budget(budget) {}
        ~CShare() { Set(0); }
        CShare(const CShare&) = delete;
        CShare& operator=(const CShare&) = delete;

        /// Sets the bytes that the holder uses now. Calls for one share must not overlap.
        void Set(std::size_t bytes)
        {
            const std::size_t before = m_bytes.load(std::memory_order_relaxed);
            if (before == bytes)
                return;
            m_bytes.store(bytes, std::memory_order_relaxed);
            m_budget.m_bytes.fetch_add(bytes - before, std::memory_order_relaxed);
        }
        /// Any thread.
        std::size_t Bytes() const { return m_bytes.load(std::memory_order_relaxed); }

    private:
        CMemoryBudget& m_budget;
        std::atomic<std::size_t> m_bytes{0};
    };

private:
    const std::size_t m_maxBytes;
    std::atomic<std::size_t> m_bytes{0};
};

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
