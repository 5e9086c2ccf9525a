#include "ShowHost/HostEvents.h"

#include "HostModels/HostModels.h"
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

void CHostEvents::Change(const Edit& edit)
{
    std::vector<SShowEvent> events;
    HostModels::Show().Change(
        [&](SShow& show) { edit(show, events); },
        [&](const auto& before, const auto& after) {
            const std::lock_guard lock(m_mutex);
            for (const SShowEvent& event : events)
                m_reports.push_back({event, event.kind == SShowEvent::SceneEnded ? before : after});
        });
    if (!events.empty())
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void CHostEvents::customEvent(QEvent*)
{
    std::deque<SReport> reports;
    {
        const std::lock_guard lock(m_mutex);
        std::swap(reports, m_reports);
    }
    for (const auto& [event, show] : reports) {
        const CShowReading reading(show);
        m_recorder.Take(event, show);
        Emit(event);
    }
}
