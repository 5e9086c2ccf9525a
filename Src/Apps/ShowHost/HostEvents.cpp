#include "ShowHost/HostEvents.h"

#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace {

void Emit(const SShowEvent& event)
{
    switch (event.kind) {
    case SShowEvent::SceneStarted:
        emit GetPlayController()->signalSceneStartExControl(event.id, event.second);
        break;
    case SShowEvent::SceneEnded:
        emit GetPlayController()->signalSceneEndExControl(event.id, event.second);
        break;
    case SShowEvent::ScenePlayed:
        emit GetPlayController()->signalExControlNotifySceneChanged(event.id, event.second);
        break;
    case SShowEvent::ResourceUsed:
        emit CResourceModel::GetInstance()->signalExControlResourceUsedChanged(event.id, event.flag);
        break;
    case SShowEvent::ResourceDemuxed:
        emit CResourceModel::GetInstance()->signalExControlResourceDexumerStateChanged(event.id, event.flag);
        break;
    }
}

} // namespace

void CHostEvents::Add(const std::vector<SShowEvent>& events)
{
    if (events.empty())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_events.insert(m_events.end(), events.begin(), events.end());
    }
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void CHostEvents::customEvent(QEvent*)
{
    std::deque<SShowEvent> events;
    {
        const std::lock_guard lock(m_mutex);
        std::swap(events, m_events);
    }
    for (const SShowEvent& event : events) {
        m_recorder.Take(event);
        Emit(event);
    }
}
