#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>

/// Lets calls in until it is closed. Channels outlive the objects that their callbacks use by a moment; the gate keeps
/// a callback that comes late from touching what is gone. Calls never wait for one another.
class CCallGate {
public:
    /// Runs the call unless the gate is closed.
    template <class Call>
    void Through(Call&& call)
    {
        if (m_closed.load(std::memory_order_acquire))
            return;
        const std::shared_lock lock(m_inside);
        if (!m_closed.load(std::memory_order_relaxed))
            call();
    }

    /// Returns once no call is inside. Not to be called from inside.
    void Close()
    {
        // First turn callers away: an endless stream of them would keep the lock for ever.
        m_closed.store(true, std::memory_order_release);
        const std::unique_lock lock(m_inside);
    }

private:
    std::atomic<bool> m_closed{false};
    std::shared_mutex m_inside;
};
