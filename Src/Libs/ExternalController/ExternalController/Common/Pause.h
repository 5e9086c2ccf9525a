#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

/// A wait that another thread can end early. Tests replace it to control the time. Any thread may call the functions.
class IPause {
public:
    virtual ~IPause() = default;

    /// Blocks until the time has passed or over() returns true. Calls over() at the start and after each Wake.
    virtual void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) = 0;
    /// Makes all threads in WaitFor call over() again.
    virtual void Wake() = 0;
};

/// Waits on a condition variable.
class CPause : public IPause {
public:
    void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) override
    {
        std::unique_lock lock(m_mutex);
        m_woken.wait_for(lock, time, over);
    }

    void Wake() override
    {
        // Lock once, so that no wake-up is lost: a thread in WaitFor has then either seen the change or is already
        // waiting.
        {
            const std::lock_guard lock(m_mutex);
        }
        m_woken.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_woken;
};
