#include "Comm/DeadlineWatch.h"

#include <utility>

namespace {

/// Number of checks within the duration of one deadline.
constexpr int kChecksPerDeadline = 10;

} // namespace

CDeadlineWatch::CDeadlineWatch(CIoThreads& threads, std::chrono::milliseconds deadline, Connections connections)
    : m_deadline(deadline), m_connections(std::move(connections)), m_timer(threads.Context())
{}

void CDeadlineWatch::Start()
{
    m_timer.expires_after(m_deadline / kChecksPerDeadline);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (error)
            return;
        const auto now = std::chrono::steady_clock::now();
        for (const CEnvelopeConnection::Ptr& connection : m_connections())
            connection->CheckDeadline(now);
        Start();
    });
}
