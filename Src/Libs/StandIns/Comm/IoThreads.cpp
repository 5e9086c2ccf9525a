#include "Comm/IoThreads.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace {

/// A callback that runs from one check of the watcher to the next is slow. Longer than any query needs, shorter than
/// what an operator notices.
constexpr std::chrono::milliseconds kCheckPeriod(5);
/// After this many checks without a callback the watcher sleeps until the next callback, so that an idle host does not
/// wake up.
constexpr int kMaxIdleChecks = 40;
/// Maximum number of slow callbacks that run in parallel; further ones wait for a thread.
constexpr std::size_t kMaxThreads = 64;

} // namespace

thread_local CIoThreads::SWorker* CIoThreads::t_worker = nullptr;

CIoThreads::CIoThreads(std::chrono::milliseconds restTime) : m_restTime(restTime), m_workGuard(m_context.get_executor())
{
    m_workers.reserve(kMaxThreads);
}

CIoThreads::~CIoThreads()
{
    Stop();
}

void CIoThreads::Start()
{
    const std::lock_guard lock(m_mutex);
    AddWorker();
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
    // The watcher creates workers. After it has ended the list does not change: no worker retires while stopping.
    if (m_watcher.joinable())
        m_watcher.join();
    for (const auto* workers : {&m_workers, &m_retired}) {
        for (const auto& worker : *workers) {
            if (worker->thread.joinable())
                worker->thread.join();
        }
    }
}

CIoThreads::CCallbackScope::CCallbackScope(CIoThreads& threads)
{
    if (!t_worker)
        return;
    ++t_worker->turn;
    if (threads.m_watcherSleeps && threads.m_watcherSleeps.exchange(false)) {
        const std::lock_guard lock(threads.m_mutex);
        threads.m_watchWake.notify_all();
    }
}

CIoThreads::CCallbackScope::~CCallbackScope()
{
    if (t_worker)
        ++t_worker->turn;
}

void CIoThreads::Work(SWorker& worker)
{
    t_worker = &worker;
    while (m_context.run_one() != 0) {
        if (worker.slow && !Park(worker))
            return;
    }
}

/// Another thread took over while this one was in a slow callback, so one of the two is not needed now. Waits until the
/// thread is needed again. Returns false when it has not been needed for the rest time and is to end.
bool CIoThreads::Park(SWorker& worker)
{
    std::unique_lock lock(m_mutex);
    if (!worker.slow)
        return true; // the watcher has withdrawn the mark
    worker.slow = false;
    --m_slow;
    if (m_running - m_slow <= 1)
        return true;
    --m_running;
    if (!m_parkWake.wait_for(lock, m_restTime, [this] { return m_stopping || m_takeOvers > 0; })) {
        Retire(worker);
        return false;
    }
    if (!m_stopping)
        --m_takeOvers;
    return true;
}

void CIoThreads::Retire(SWorker& worker)
{
    const auto found = std::find_if(m_workers.begin(), m_workers.end(),
                                    [&](const auto& candidate) { return candidate.get() == &worker; });
    m_retired.push_back(std::move(*found));
    m_workers.erase(found);
    m_watcherSleeps = false;
    m_watchWake.notify_all();
}

void CIoThreads::Watch()
{
    std::unique_lock lock(m_mutex);
    int idleChecks = 0;
    while (!m_stopping) {
        JoinRetired(lock);
        idleChecks = FindSlowCallbacks() ? 0 : idleChecks + 1;
        if (idleChecks < kMaxIdleChecks) {
            m_watchWake.wait_for(lock, kCheckPeriod);
            continue;
        }
        // Set the flag before the last check: a callback that begins now is either found here or wakes this thread.
        m_watcherSleeps = true;
        if (!FindSlowCallbacks())
            m_watchWake.wait(lock, [this] { return m_stopping || !m_watcherSleeps; });
        m_watcherSleeps = false;
        idleChecks = 0;
    }
}

void CIoThreads::JoinRetired(std::unique_lock<std::mutex>& lock)
{
    if (m_retired.empty())
        return;
    const auto retired = std::exchange(m_retired, {});
    lock.unlock();
    for (const auto& worker : retired)
        worker->thread.join();
    lock.lock();
}

/// Marks the workers whose callback is slow and has another worker take over if all are slow. Returns whether there was
/// any callback since the last check.
bool CIoThreads::FindSlowCallbacks()
{
    bool anyCallback = false;
    for (const auto& worker : m_workers) {
        const std::uint32_t turn = worker->turn;
        const bool inCallback = turn % 2 != 0;
        anyCallback = anyCallback || inCallback || turn != worker->seenTurn;
        if (inCallback && turn == worker->seenTurn && !worker->slow) {
            worker->slow = true;
            // If the callback has ended meanwhile, the worker may be waiting for events already: it would not park.
            if (worker->turn == turn)
                ++m_slow;
            else
                worker->slow = false;
        }
        worker->seenTurn = turn;
    }
    if (m_running == m_slow)
        TakeOver();
    return anyCallback;
}

void CIoThreads::TakeOver()
{
    if (static_cast<int>(m_workers.size()) > m_running) {
        ++m_takeOvers;
        ++m_running;
        m_parkWake.notify_one();
    } else if (m_workers.size() < kMaxThreads) {
        try {
            AddWorker();
        } catch (const std::exception&) {
            // The system has no thread or no memory available now. The next check tries again.
        }
    }
}

void CIoThreads::AddWorker()
{
    auto worker = std::make_unique<SWorker>();
    worker->thread = std::thread([this, added = worker.get()] { Work(*added); });
    m_workers.push_back(std::move(worker));
    ++m_running;
}
