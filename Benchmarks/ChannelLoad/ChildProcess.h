#pragma once

#include <functional>
#include <string>

#include <sys/types.h>

/// Returns the processor time that a process has used so far, in seconds.
double CpuSecondsOf(clockid_t processClock);

/// A child process that ends with this object or with this program, even if the program crashes.
class CChildProcess {
public:
    /// Forks and runs main in the child, whose exit code is main's return value. The child inherits the parent's cores.
    CChildProcess(std::string name, const std::function<int()>& main);
    /// Sends SIGTERM and waits; sends SIGKILL if the process doesn't end.
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    const std::string& Name() const { return m_name; }
    /// Includes all its threads, but not processes that it started.
    double CpuSeconds() const { return CpuSecondsOf(m_cpuClock); }
    /// Throws if the process has ended.
    void ThrowIfEnded();

private:
    bool HasEnded();

    const std::string m_name;
    pid_t m_pid = -1;
    clockid_t m_cpuClock = 0;
    bool m_ended = false;
    int m_status = 0;
};
