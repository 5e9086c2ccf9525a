#include "Interfaces/SceneMgrModel.h"

#include "HostModels/Pictures/Painting.h"
#include "HostModels/Show/HostShow.h"
#include "HostModels/Show/ShowJson.h"

#include <algorithm>
#include <iterator>

namespace {

const SSceneGroup* FindGroup(const SShow& show, const QUuid& groupId)
{
    return show.Project() ? show.Project()->FindGroup(groupId) : nullptr;
}

class CHostSceneMgrModel : public CSceneMgrModel {
public:
    std::vector<QUuid> GetAllSceneGroupId() override
    {
        std::vector<QUuid> ids;
        const CShowReading show;
        if (const SProject* project = show->Project()) {
            ids.reserve(project->groups.size());
            std::transform(project->groups.begin(), project->groups.end(), std::back_inserter(ids),
                           [](const auto& group) { return group->id; });
        }
        return ids;
    }

    std::vector<QUuid> GetGroupSceneId(const QUuid& groupId) override
    {
        std::vector<QUuid> ids;
        const CShowReading show;
        if (const SSceneGroup* group = FindGroup(*show, groupId)) {
            ids.reserve(group->scenes.size());
            std::transform(group->scenes.begin(), group->scenes.end(), std::back_inserter(ids),
                           [](const auto& scene) { return scene->node.GetId(); });
        }
        return ids;
    }

    QString GetSceneGroupName(const QUuid& groupId) override
    {
        const CShowReading show;
        const SSceneGroup* group = FindGroup(*show, groupId);
        return group ? group->name : QString();
    }

    CSceneNode GetSceneNode(const QUuid& groupId, const QUuid& sceneId) override
    {
        const CShowReading show;
        const SSceneGroup* group = FindGroup(*show, groupId);
        const SScene* scene = group ? group->FindScene(sceneId) : nullptr;
        return scene ? scene->node : CSceneNode();
    }

    QPixmap GetSceneImage(const QUuid& groupId, const QUuid& sceneId) override
    {
        const CShowReading show;
        const SScene* scene = show->Project() ? show->Project()->FindScene(groupId, sceneId) : nullptr;
        return scene ? QPixmap::fromImage(Painting::PaintStage(*show, *scene)) : QPixmap();
    }

    std::pair<QUuid, QUuid> GetCurPlayScene() override
    {
        const CShowReading show;
        return {show->playback.group, show->playback.scene};
    }

    QUuid GetMainKVId() override
    {
        const CShowReading show;
        return show->Project() ? show->Project()->mainGroup : QUuid();
    }

    std::shared_ptr<const IEffectProperty> GetGlobalProperty() override
    {
        const CShowReading show;
        return show->Project() ? std::make_shared<const SEffect>(show->effect) : nullptr;
    }

    QJsonObject SaveSceneMgrModel(const QString&) override
    {
        const CShowReading show;
        const SProject* project = show->Project();
        if (!project)
            return {};
        QJsonObject saved = ListOf("groups", project->groups);
        saved["mainGroup"] = project->mainGroup.toString(QUuid::WithoutBraces);
        return saved;
    }
};

} // namespace

CSceneMgrModel* CSceneMgrModel::GetInstance()
{
    static CHostSceneMgrModel model;
    return &model;
}
