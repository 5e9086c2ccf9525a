#pragma once

#include <functional>
#include <memory>

/// The host's timer: runs its callable on a thread of its own.
class CTimer {
public:
    CTimer(std::function<void()> callable, double periodMilliseconds);
    virtual ~CTimer();
    CTimer(const CTimer&) = delete;
    CTimer& operator=(const CTimer&) = delete;

    /// Runs the callable once a period until Stop. A callable that outlasts its period is not run twice at a time.
    virtual void Start();
    virtual void Stop();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};
