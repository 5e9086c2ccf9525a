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

/// Runs an io_context on one thread while its callbacks are fast. When a callback is slow, another thread takes over
/// the io_context. So a fast request never has to wake a second thread, and a slow one does not delay the others.
class CIoThreads {
public:
    /// \param restTime a thread that has not been needed for this time ends
    explicit CIoThreads(std::chrono::milliseconds restTime = std::chrono::seconds(10));
    ~CIoThreads();
    CIoThreads(const CIoThreads&) = delete;
    CIoThreads& operator=(const CIoThreads&) = delete;

    asio::io_context& Context() { return m_context; }
    /// Starts the first thread and the watcher. To be called once.
    void Start();
    /// Ends the threads and waits for them. Must not be called on one of them.
    void Stop();

    /// To be created on the stack around each callback that may be slow. On other threads it has no effect.
    class CCallbackScope {
    public:
        explicit CCallbackScope(CIoThreads& threads);
        ~CCallbackScope();
        CCallbackScope(const CCallbackScope&) = delete;
        CCallbackScope& operator=(const CCallbackScope&) = delete;
    };

private:
    struct SWorker {
        std::atomic<std::uint32_t> turn{0}; ///< incremented at begin and end of a callback: odd inside one
        std::atomic<bool> slow{false};      ///< its callback is slow; another thread may have taken over
        std::uint32_t seenTurn = 0;         ///< turn at the last check
        std::thread thread;
    };

    void Work(SWorker& worker);
    bool Park(SWorker& worker);
    void Retire(SWorker& worker);
    void Watch();
    void JoinRetired(std::unique_lock<std::mutex>& lock);
    bool FindSlowCallbacks();
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
    std::vector<std::unique_ptr<SWorker>> m_retired; ///< their threads are ending; the watcher joins them
    std::thread m_watcher;
    std::atomic<bool> m_watcherSleeps{false};
    int m_running = 0;   ///< workers in the io_context, slow ones included
    int m_slow = 0;      ///< of those, the workers in a slow callback
    int m_takeOvers = 0; ///< number of parked workers that are to resume
    bool m_stopping = false;
};
