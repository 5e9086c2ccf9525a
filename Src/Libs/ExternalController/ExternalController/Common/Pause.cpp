#include "ExternalController/Common/Pause.h"

void CPause::WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over)
{
    std::unique_lock lock(m_mutex);
    m_woken.wait_for(lock, time, over);
}

void CPause::Wake()
{
    // Whoever is about to wait has either seen what changed or is waiting once the lock is free.
    {
        const std::lock_guard lock(m_mutex);
    }
    m_woken.notify_all();
}
