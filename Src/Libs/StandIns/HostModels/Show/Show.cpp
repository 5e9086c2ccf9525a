#include "HostModels/Show/Show.h"

#include <QTransform>

#include <utility>

namespace {

template <class Values>
auto* Find(const Values& values, const QHash<QUuid, std::size_t>& index, const QUuid& id)
{
    const auto found = index.constFind(id);
    return found == index.constEnd() ? nullptr : values[*found].get();
}

template <class Values, class Value>
void Append(Values& values, QHash<QUuid, std::size_t>& index, const QUuid& id, Value&& value)
{
    if (!index.contains(id))
        index.insert(id, values.size());
    values.push_back(std::make_shared<const std::decay_t<Value>>(std::forward<Value>(value)));
}

} // namespace

std::array<QPointF, 4> CornersOf(const SLayoutProperty& layout)
{
    const QRectF place(layout.position, QSizeF(layout.size));
    const QPointF centre = place.center();
    const QTransform turn = QTransform::fromTranslate(-centre.x(), -centre.y()) *
                            QTransform().rotate(-double{layout.rotation}) *
                            QTransform::fromTranslate(centre.x(), centre.y());
    return {turn.map(place.topLeft()), turn.map(place.topRight()), turn.map(place.bottomRight()),
            turn.map(place.bottomLeft())};
}

const CMediaNode* SScene::FindMedia(const QUuid& mediaId) const
{
    const auto found = mediaIndex.constFind(mediaId);
    return found == mediaIndex.constEnd() ? nullptr : &media[*found];
}

const SScene* SSceneGroup::FindScene(const QUuid& sceneId) const
{
    return Find(scenes, sceneIndex, sceneId);
}

void SSceneGroup::Add(SScene scene)
{
    for (std::size_t place = 0; place < scene.media.size(); ++place) {
        scene.mediaIndex.insert(scene.media[place].GetId(), place);
        ++scene.useCounts[scene.media[place].GetResourceId()];
    }
    const QUuid sceneId = scene.node.GetId();
    Append(scenes, sceneIndex, sceneId, std::move(scene));
}

const SSceneGroup* SProject::FindGroup(const QUuid& groupId) const
{
    return Find(groups, groupIndex, groupId);
}

const SScene* SProject::FindScene(const QUuid& groupId, const QUuid& sceneId) const
{
    const SSceneGroup* group = FindGroup(groupId);
    return group ? group->FindScene(sceneId) : nullptr;
}

const SResource* SProject::ResourceById(const QUuid& resourceId) const
{
    return Find(resources, resourceIndex, resourceId);
}

void SProject::Add(SSceneGroup group)
{
    const QUuid groupId = group.id;
    Append(groups, groupIndex, groupId, std::move(group));
}

void SProject::Add(SResource resource)
{
    const QUuid resourceId = resource.base.GetId();
    Append(resources, resourceIndex, resourceId, std::move(resource));
}

std::chrono::milliseconds SPlayback::PositionAt(Clock::time_point now) const
{
    if (state != Playing)
        return playedBefore;
    return playedBefore + std::chrono::duration_cast<std::chrono::milliseconds>(now - since);
}

void SPlayback::Enter(State next, Clock::time_point now)
{
    playedBefore = next == Stopped ? std::chrono::milliseconds(0) : PositionAt(now);
    since = now;
    state = next;
    globalState = next;
}

const SProject* SShow::Project() const
{
    return openProject < projects.size() ? projects[openProject].get() : nullptr;
}

const SScene* SShow::CurrentScene() const
{
    const SProject* project = Project();
    return project ? project->FindScene(playback.group, playback.scene) : nullptr;
}

const CMediaNode* SShow::FindStageMedia(const QUuid& mediaId) const
{
    const SScene* scene = CurrentScene();
    return scene ? scene->FindMedia(mediaId) : nullptr;
}

QHash<QUuid, int> SShow::UseCounts() const
{
    const SScene* scene = CurrentScene();
    return scene ? scene->useCounts : QHash<QUuid, int>();
}
