#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>

/// Runs callbacks until it is closed. A channel may call back for a short time after the object that its callbacks use
/// has been destroyed; the gate, which the callbacks share, ignores such late calls. Any thread may call Through. Calls
/// don't wait for each other.
class CCallGate {
public:
    /// Runs the call on the calling thread, or returns at once if the gate is closed.
    template <class Call>
    void Through(Call&& call)
    {
        if (m_closed.load(std::memory_order_acquire))
            return;
        const std::shared_lock lock(m_inside);
        if (!m_closed.load(std::memory_order_relaxed))
            call();
    }

    /// Closes the gate and waits until no call is running in Through. Must not be called from within such a call.
    void Close()
    {
        // Reject new calls first: otherwise a continuous stream of them could hold the shared lock indefinitely.
        m_closed.store(true, std::memory_order_release);
        const std::unique_lock lock(m_inside);
    }

private:
    std::atomic<bool> m_closed{false};
    std::shared_mutex m_inside;
};
