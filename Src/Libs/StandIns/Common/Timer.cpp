#include "Interfaces/Common.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

class CTimer::Impl {
public:
    Impl(std::function<void()> callable, double periodMilliseconds)
        : m_callable(std::move(callable)), m_period(periodMilliseconds)
    {}

    ~Impl() { Stop(); }

    void Start()
    {
        const std::lock_guard starting(m_startMutex);
        if (m_thread.joinable())
            return;
        m_stopping = false;
        m_thread = std::thread([this] { Run(); });
    }

    void Stop()
    {
        const std::lock_guard starting(m_startMutex);
        {
            const std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    void Run()
    {
        std::unique_lock lock(m_mutex);
        while (!m_wake.wait_for(lock, m_period, [this] { return m_stopping; })) {
            lock.unlock();
            m_callable();
            lock.lock();
        }
    }

    const std::function<void()> m_callable;
    const std::chrono::duration<double, std::milli> m_period;
    std::mutex m_startMutex;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::thread m_thread;
};

CTimer::CTimer(std::function<void()> callable, double periodMilliseconds)
    : m_impl(std::make_unique<Impl>(std::move(callable), periodMilliseconds))
{}

CTimer::~CTimer() = default;

void CTimer::Start()
{
    m_impl->Start();
}

void CTimer::Stop()
{
    m_impl->Stop();
}
