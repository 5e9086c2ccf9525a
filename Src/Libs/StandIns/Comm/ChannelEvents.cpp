#include "Comm/ChannelEvents.h"

#include <utility>

CChannelEvents& CChannelEvents::GetInstance()
{
    static CChannelEvents events;
    return events;
}

void CChannelEvents::SetSink(Sink sink, bool traffic)
{
    const std::lock_guard lock(m_mutex);
    m_traffic = sink && traffic;
    m_sink = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
}

void CChannelEvents::Publish(const SChannelEvent& event)
{
    std::shared_ptr<const Sink> sink;
    {
        const std::lock_guard lock(m_mutex);
        sink = m_sink;
    }
    if (sink)
        (*sink)(event);
}
