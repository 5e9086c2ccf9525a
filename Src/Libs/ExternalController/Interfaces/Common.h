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

    /// Calls the callable once per period until Stop. Calls never overlap, also when one lasts longer than the period.
    virtual void Start();
    virtual void Stop();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};
