#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// How long a test waits for what must come. Generous: it is only used up by a failure.
constexpr std::chrono::seconds kTimeout(20);

/// Waits for what another thread does; false when the timeout expires first.
template <class Condition>
bool WaitUntil(Condition&& condition, std::chrono::milliseconds timeout = kTimeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// Blocks the threads that call Wait while it is closed. It is closed at first.
class CGate {
public:
    void Wait() const
    {
        WaitUntil([this] { return m_isOpen.load(); }, std::chrono::minutes(4));
    }
    void Open() { m_isOpen = true; }
    void Close() { m_isOpen = false; }

private:
    std::atomic<bool> m_isOpen{false};
};

/// Notes from other threads to the test, in order.
class CNotes {
public:
    void Add(std::string note)
    {
        const std::lock_guard lock(m_mutex);
        m_notes.push_back(std::move(note));
    }

    void Clear()
    {
        const std::lock_guard lock(m_mutex);
        m_notes.clear();
    }

    std::vector<std::string> All() const
    {
        const std::lock_guard lock(m_mutex);
        return m_notes;
    }

    /// All once there are this many; fewer when the timeout expires.
    std::vector<std::string> WaitFor(std::size_t count) const
    {
        WaitUntil([&] { return All().size() >= count; });
        return All();
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_notes;
};
