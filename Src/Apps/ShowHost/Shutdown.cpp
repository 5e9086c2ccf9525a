#include "ShowHost/Shutdown.h"

#include <csignal>
#include <utility>

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

CShutdownSignals::CShutdownSignals(std::function<void()> asked) : m_signals(m_context, SIGINT, SIGTERM)
{
    m_signals.async_wait([asked = std::move(asked)](const asio::error_code& error, int) {
        if (!error)
            asked();
    });
    m_thread = std::thread([this] { m_context.run(); });
}

CShutdownSignals::~CShutdownSignals()
{
    m_context.stop();
    m_thread.join();
}

void RaiseConnectionLimit()
{
#if !defined(_WIN32)
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
#endif
}
