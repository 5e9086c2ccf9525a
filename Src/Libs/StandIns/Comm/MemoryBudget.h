#pragma once

#include <atomic>
#include <cstddef>

/// Counts the bytes that several holders keep, against one limit for all of them. Any thread.
class CMemoryBudget {
public:
    explicit CMemoryBudget(std::size_t maxBytes) : m_maxBytes(maxBytes) {}

    bool IsExceeded() const { return m_bytes.load(std::memory_order_relaxed) > m_maxBytes; }

    /// The part of one holder. Must not outlive the budget.
    class CShare {
    public:
        explicit CShare(CMemoryBudget& budget) : m_budget(budget) {}
        ~CShare() { Set(0); }
        CShare(const CShare&) = delete;
        CShare& operator=(const CShare&) = delete;

        /// One thread at a time.
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
