#include "ChannelLoad/ChildProcess.h"

#include "ChannelLoad/Syscall.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kChildFailed = 70;
constexpr std::chrono::seconds kTimeout(15);
constexpr std::chrono::milliseconds kPollInterval(5);

std::string TextOfStatus(int status)
{
    if (WIFSIGNALED(status))
        return "was killed by signal " + std::to_string(WTERMSIG(status));
    return "ended with code " + std::to_string(WEXITSTATUS(status));
}

int RunChild(const std::string& name, const std::function<int()>& main, pid_t parent)
{
    try {
        Syscall::DieOnSignals();
        Syscall::Do("prctl", [] { return prctl(PR_SET_PDEATHSIG, SIGTERM); });
        if (getppid() != parent)
            return kChildFailed; // the parent ended before PR_SET_PDEATHSIG took effect
        return main();
    } catch (const std::exception& error) {
        std::cerr << name << ": " << error.what() << std::endl;
        return kChildFailed;
    }
}

} // namespace

double CpuSecondsOf(clockid_t processClock)
{
    timespec time = {};
    Syscall::Do("clock_gettime", [&] { return clock_gettime(processClock, &time); });
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

CChildProcess::CChildProcess(std::string name, const std::function<int()>& main) : m_name(std::move(name))
{
    const pid_t parent = getpid();
    m_pid = Syscall::Do("fork", [] { return fork(); });
    if (m_pid == 0)
        _exit(RunChild(m_name, main, parent)); // the child must not destroy the parent's objects
    if (const int error = clock_getcpuclockid(m_pid, &m_cpuClock); error != 0)
        Syscall::Fail("clock_getcpuclockid", error);
}

CChildProcess::~CChildProcess()
{
    if (HasEnded())
        return;
    kill(m_pid, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    while (!HasEnded() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(kPollInterval);
    if (!HasEnded()) {
        std::cerr << m_name << " doesn't end on SIGTERM; killing it" << std::endl;
        kill(m_pid, SIGKILL);
        waitpid(m_pid, &m_status, 0);
    } else if (m_status != 0 && !(WIFSIGNALED(m_status) && WTERMSIG(m_status) == SIGTERM)) {
        std::cerr << m_name << ' ' << TextOfStatus(m_status) << " after SIGTERM" << std::endl;
    }
}

void CChildProcess::ThrowIfEnded()
{
    if (HasEnded())
        throw std::runtime_error(m_name + ' ' + TextOfStatus(m_status));
}

bool CChildProcess::HasEnded()
{
    if (!m_ended)
        m_ended = waitpid(m_pid, &m_status, WNOHANG) == m_pid;
    return m_ended;
}
