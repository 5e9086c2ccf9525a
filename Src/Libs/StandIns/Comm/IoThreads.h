#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// Runs an io_context on one thread for as long as the calls out of it are quick, and lets another thread take over
/// while a call is slow. So a quick request never pays for waking a second thread, and a slow one holds up nobody.
class CIoThreads {
public:
    /// restTime: a thread that has not been needed for so long ends.
    explicit CIoThreads(std::chrono::milliseconds restTime = std::chrono::seconds(10));
    ~CIoThreads();
    CIoThreads(const CIoThreads&) = delete;
    CIoThreads& operator=(const CIoThreads&) = delete;

    asio::io_context& Context() { return m_context; }
    void Start();
    /// Ends the threads and waits for them. Not to be called on one of them.
    void Stop();

    /// Stands around each call out of the io_context that may be slow.
    class CCallbackScope {
    public:
        explicit CCallbackScope(CIoThreads& threads);
        ~CCallbackScope();
        CCallbackScope(const CCallbackScope&) = delete;
        CCallbackScope& operator=(const CCallbackScope&) = delete;
    };

private:
    struct SWorker {
        std::atomic<std::uint32_t> turn{0}; ///< odd while it is inside a call out
        std::atomic<bool> slow{false};      ///< its call out was found slow; another thread took over
        std::uint32_t seenTurn = 0;
        std::thread thread;
    };

    void Work(SWorker& worker);
    bool Park(SWorker& worker);
    void Retire(SWorker& worker);
    void Watch();
    void JoinRetired(std::unique_lock<std::mutex>& lock);
    bool LookForSlowCalls();
    void TakeOver();
    void AddWorker();

    static thread_local SWorker* t_worker;

    const std::chrono::milliseconds m_restTime;
    asio::io_context m_context;
    asio::executor_work_guard<asio::io_context::executor_type> m_workGuard;
    std::mutex m_mutex;
    std::condition_variable m_watchWake;
    std::condition_variable m_parkWake;
    std::vector<std::unique_ptr<SWorker>> m_workers;
    std::vector<std::unique_ptr<SWorker>> m_retired; ///< their threads end; the watcher joins them
    std::thread m_watcher;
    std::atomic<bool> m_watcherSleeps{false};
    int m_running = 0;   ///< workers in the io_context, slow ones included
    int m_slow = 0;      ///< of those, the ones in a slow call
    int m_takeOvers = 0; ///< parked workers that are called back
    bool m_stopping = false;
};
