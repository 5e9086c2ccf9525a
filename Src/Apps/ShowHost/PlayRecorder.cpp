#include "ShowHost/PlayRecorder.h"

#include "HostModels/HostModels.h"

#include <utility>

namespace {

/// "0:04:12"
QString DurationText(qint64 milliseconds)
{
    const qint64 seconds = milliseconds / 1000;
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

CPlayRecorder::CPlayRecorder()
{
    const auto show = HostModels::Show().Current();
    if (show->playback.state != SPlayback::Stopped)
        Begin(show, show->playback.group, show->playback.scene);
}

CPlayRecorder::~CPlayRecorder()
{
    End();
}

void CPlayRecorder::Take(const SShowEvent& event, const std::shared_ptr<const SShow>& show)
{
    if (event.kind == SShowEvent::SceneStarted)
        Begin(show, event.id, event.second);
    else if (event.kind == SShowEvent::SceneEnded)
        End();
}

void CPlayRecorder::Begin(std::shared_ptr<const SShow> show, const QUuid& groupId, const QUuid& sceneId)
{
    m_show = std::move(show);
    const SProject* project = m_show->Project();
    m_scene = project ? project->FindScene(groupId, sceneId) : nullptr;
    m_start = QDateTime::currentDateTime();
}

void CPlayRecorder::End()
{
    if (!m_scene)
        return;
    const QDateTime end = QDateTime::currentDateTime();
    for (const CMediaNode& medium : m_scene->media) {
        const SResource* resource = m_show->Project()->ResourceById(medium.GetResourceId());
        if (!resource)
            continue;
        HostModels::ShowLog().Add(SPlayRecord{resource->base.GetType(), DurationText(resource->base.GetDuration()),
                                              m_start.toString(kLogTimeFormat), end.toString(kLogTimeFormat),
                                              DurationText(m_start.msecsTo(end)), resource->base.GetName()});
    }
    m_scene = nullptr;
    m_show.reset();
}
