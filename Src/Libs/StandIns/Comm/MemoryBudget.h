#pragma once

#include <atomic>
#include <cstddef>

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
