#include "ShowHost/Shutdown.h"

#include <csignal>
#include <utility>

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
