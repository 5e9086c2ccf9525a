#include "ShowHost/PlayRecorder.h"

#include "HostModels/HostModels.h"

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
    const SPlayback playback = HostModels::Show().Current()->playback;
    if (playback.state != SPlayback::Stopped)
        Begin(playback.group, playback.scene);
}

CPlayRecorder::~CPlayRecorder()
{
    End();
}

void CPlayRecorder::Take(const SShowEvent& event)
{
    if (event.kind == SShowEvent::SceneStarted)
        Begin(event.id, event.second);
    else if (event.kind == SShowEvent::SceneEnded)
        End();
}

/// The scene is looked for by its ids: the next one may be on the stage already.
void CPlayRecorder::Begin(const QUuid& groupId, const QUuid& sceneId)
{
    m_show = HostModels::Show().Current();
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
