#include "ExternalController/Common/Pause.h"

void CPause::WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over)
{
    std::unique_lock lock(m_mutex);
    m_woken.wait_for(lock, time, over);
}

void CPause::Wake()
{
    // Lock once, so that no wake-up is lost: a thread in WaitFor has then either seen the change or is already waiting.
    {
        const std::lock_guard lock(m_mutex);
    }
    m_woken.notify_all();
}
