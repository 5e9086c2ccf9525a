#include "Comm/DeadlineWatch.h"

#include <utility>

namespace {

/// How often deadlines are looked at, as a part of the deadline.
constexpr int kLooksPerDeadline = 10;

} // namespace

CDeadlineWatch::CDeadlineWatch(CIoThreads& threads, std::chrono::milliseconds deadline, Connections connections)
    : m_deadline(deadline), m_connections(std::move(connections)), m_timer(threads.Context())
{}

void CDeadlineWatch::Start()
{
    m_timer.expires_after(m_deadline / kLooksPerDeadline);
    m_timer.async_wait([this](const asio::error_code& error) {
        if (error)
            return;
        const auto now = std::chrono::steady_clock::now();
        for (const CEnvelopeConnection::Ptr& connection : m_connections())
            connection->CheckDeadline(now);
        Start();
    });
}
