#pragma once

#include <csignal>

#include <sys/resource.h>

/// During its lifetime, no file of this process can grow beyond some bytes: writes fail as on a full disk.
class CFullDisk {
public:
    explicit CFullDisk(rlim_t bytes = 0) : m_handlerBefore(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_limitBefore);
        const rlimit limit{bytes, m_limitBefore.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_limitBefore);
        std::signal(SIGXFSZ, m_handlerBefore);
    }
    CFullDisk(const CFullDisk&) = delete;
    CFullDisk& operator=(const CFullDisk&) = delete;

private:
    void (*const m_handlerBefore)(int);
    rlimit m_limitBefore{};
};
