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
    void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) override;
    void Wake() override;

private:
    std::mutex m_mutex;
    std::condition_variable m_woken;
};
