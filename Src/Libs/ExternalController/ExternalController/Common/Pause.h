#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

/// A wait that another thread can end.
class IPause {
public:
    virtual ~IPause() = default;

    /// Returns after the time, or as soon as over() is true at the start or after a Wake.
    virtual void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) = 0;
    virtual void Wake() = 0;
};

class CPause : public IPause {
public:
    void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) override;
    void Wake() override;

private:
    std::mutex m_mutex;
    std::condition_variable m_woken;
};
