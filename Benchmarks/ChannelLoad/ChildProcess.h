#pragma once

#include <functional>
#include <string>

#include <sys/types.h>

/// Processor time that a process has had so far, in seconds.
double CpuSecondsOf(clockid_t processClock);

/// A process of our own that ends no later than this object, nor than this program, however that ends.
class CChildProcess {
public:
    /// Forks; main runs in the child, which ends with the code that it returns. The child is pinned like its parent.
    CChildProcess(std::string name, const std::function<int()>& main);
    /// SIGTERM and a wait; SIGKILL if that doesn't help.
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    const std::string& Name() const { return m_name; }
    /// Of all its threads, not of processes that it started.
    double CpuSeconds() const { return CpuSecondsOf(m_cpuClock); }
    /// Throws if it has ended.
    void ThrowIfEnded();

private:
    bool HasEnded();

    const std::string m_name;
    pid_t m_pid = -1;
    clockid_t m_cpuClock = 0;
    bool m_ended = false;
    int m_status = 0;
};
