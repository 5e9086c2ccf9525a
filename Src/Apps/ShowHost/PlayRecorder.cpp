#include "ShowHost/PlayRecorder.h"

#include "HostModels/HostModels.h"

#include <QTime>

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

void CPlayRecorder::Take(const SShowEvent& event)
{
    if (event.kind == SShowEvent::SceneStarted) {
        m_show = HostModels::Show().Current();
        m_start = QDateTime::currentDateTime();
    } else if (event.kind == SShowEvent::SceneEnded && m_show) {
        Write();
        m_show.reset();
    }
}

void CPlayRecorder::Write() const
{
    const SProject* project = m_show->Project();
    const SScene* scene = m_show->CurrentScene();
    if (!scene)
        return;
    const QDateTime end = QDateTime::currentDateTime();
    for (const CMediaNode& medium : scene->media) {
        const SResource* resource = project->FindResource(medium.GetResourceId());
        if (!resource)
            continue;
        HostModels::ShowLog().Add(SPlayRecord{resource->base.GetType(), DurationText(resource->base.GetDuration()),
                                              m_start.toString(kLogTimeFormat), end.toString(kLogTimeFormat),
                                              DurationText(m_start.msecsTo(end)), resource->base.GetName()});
    }
}
