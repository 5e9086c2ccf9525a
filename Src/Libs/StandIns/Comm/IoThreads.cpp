#include "Comm/IoThreads.h"

#include <chrono>

namespace {

/// A call that lasts from one look of the watcher to the next is slow: long against any query, short against what an
/// operator notices.
constexpr std::chrono::milliseconds kLookPeriod(5);
/// Looks without any call in between, after which the watcher sleeps until the next one: an idle host never wakes up.
constexpr int kQuietLooks = 40;
/// So many slow calls at once run side by side; further ones wait for a thread.
constexpr std::size_t kMaxThreads = 64;

} // namespace

thread_local CIoThreads::SWorker* CIoThreads::t_worker = nullptr;

CIoThreads::CIoThreads() : m_workGuard(m_context.get_executor()) {}

CIoThreads::~CIoThreads()
{
    Stop();
}

void CIoThreads::Start()
{
    const std::lock_guard lock(m_mutex);
    TakeOver();
    m_watcher = std::thread([this] { Watch(); });
}

void CIoThreads::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_context.stop();
        m_watchWake.notify_all();
        m_parkWake.notify_all();
    }
    // The watcher makes workers: once it is gone their list stands.
    if (m_watcher.joinable())
        m_watcher.join();
    for (const auto& worker : m_workers) {
        if (worker->thread.joinable())
            worker->thread.join();
    }
}

CIoThreads::CCallOut::CCallOut(CIoThreads& threads)
{
    if (!t_worker)
        return;
    ++t_worker->turn;
    if (threads.m_watcherSleeps && threads.m_watcherSleeps.exchange(false)) {
        const std::lock_guard lock(threads.m_mutex);
        threads.m_watchWake.notify_all();
    }
}

CIoThreads::CCallOut::~CCallOut()
{
    if (t_worker)
        ++t_worker->turn;
}

void CIoThreads::Work(SWorker& worker)
{
    t_worker = &worker;
    while (m_context.run_one() != 0) {
        if (worker.slow)
            Park(worker);
    }
}

/// Another thread took over while this one was in a slow call: one of the two is too many now.
void CIoThreads::Park(SWorker& worker)
{
    std::unique_lock lock(m_mutex);
    worker.slow = false;
    --m_slow;
    if (m_running - m_slow <= 1)
        return;
    --m_running;
    m_parkWake.wait(lock, [this] { return m_stopping || m_takeOvers > 0; });
    if (!m_stopping)
        --m_takeOvers;
}

void CIoThreads::Watch()
{
    std::unique_lock lock(m_mutex);
    int quietLooks = 0;
    while (!m_stopping) {
        quietLooks = LookForSlowCalls() ? 0 : quietLooks + 1;
        if (quietLooks < kQuietLooks) {
            m_watchWake.wait_for(lock, kLookPeriod);
            continue;
        }
        // Announce the sleep first and look once more then: a call that begins now either is seen or wakes us.
        m_watcherSleeps = true;
        if (!LookForSlowCalls())
            m_watchWake.wait(lock, [this] { return m_stopping || !m_watcherSleeps; });
        m_watcherSleeps = false;
        quietLooks = 0;
    }
}

/// Returns whether there was any call since the last look.
bool CIoThreads::LookForSlowCalls()
{
    bool anyCall = false;
    bool anySlow = false;
    for (const auto& worker : m_workers) {
        const std::uint32_t turn = worker->turn;
        const bool inCall = turn % 2 != 0;
        anyCall = anyCall || inCall || turn != worker->seenTurn;
        if (inCall && turn == worker->seenTurn && !worker->slow) {
            worker->slow = true;
            ++m_slow;
            anySlow = true;
        }
        worker->seenTurn = turn;
    }
    if (anySlow && m_running == m_slow)
        TakeOver();
    return anyCall;
}

void CIoThreads::TakeOver()
{
    if (static_cast<int>(m_workers.size()) > m_running) {
        ++m_takeOvers;
        ++m_running;
        m_parkWake.notify_one();
    } else if (m_workers.size() < kMaxThreads) {
        ++m_running;
        SWorker& worker = *m_workers.emplace_back(std::make_unique<SWorker>());
        worker.thread = std::thread([this, &worker] { Work(worker); });
    }
}
