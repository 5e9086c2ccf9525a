#include "ShowHost/Shutdown.h"

#include <csignal>
#include <cstdlib>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kReportLimit(100);

} // namespace

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

CShutdownDeadline::CShutdownDeadline(std::function<void()> expired, std::chrono::milliseconds limit)
    : m_expired(std::move(expired)), m_limit(limit), m_thread([this] { Watch(); })
{}

CShutdownDeadline::~CShutdownDeadline()
{
    {
        const std::lock_guard lock(m_mutex);
        m_done = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void CShutdownDeadline::Start(int exitCode)
{
    const std::lock_guard lock(m_mutex);
    m_exitCode = exitCode;
    m_wake.notify_all();
}

void CShutdownDeadline::Watch()
{
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_done || m_exitCode; });
    if (m_wake.wait_for(lock, m_limit, [this] { return m_done; }))
        return;
    // The report can block when its output is a full pipe.
    std::thread(m_expired).detach();
    if (!m_wake.wait_for(lock, kReportLimit, [this] { return m_done; }))
        std::_Exit(*m_exitCode);
}
