#include "Interfaces/SceneMgrModel.h"

#include "HostModels/HostShow.h"
#include "HostModels/Painting.h"
#include "HostModels/ShowJson.h"

#include <algorithm>
#include <iterator>

namespace {

class CHostSceneMgrModel : public CSceneMgrModel {
public:
    std::vector<QUuid> GetAllSceneGroupId() override
    {
        std::vector<QUuid> ids;
        if (const SProject* project = Project())
            std::transform(project->groups.begin(), project->groups.end(), std::back_inserter(ids),
                           [](const auto& group) { return group->id; });
        return ids;
    }

    std::vector<QUuid> GetGroupSceneId(const QUuid& groupId) override
    {
        std::vector<QUuid> ids;
        if (const SSceneGroup* group = FindGroup(groupId))
            std::transform(group->scenes.begin(), group->scenes.end(), std::back_inserter(ids),
                           [](const auto& scene) { return scene->node.GetId(); });
        return ids;
    }

    QString GetSceneGroupName(const QUuid& groupId) override
    {
        const SSceneGroup* group = FindGroup(groupId);
        return group ? group->name : QString();
    }

    CSceneNode GetSceneNode(const QUuid& groupId, const QUuid& sceneId) override
    {
        const SSceneGroup* group = FindGroup(groupId);
        const SScene* scene = group ? group->FindScene(sceneId) : nullptr;
        return scene ? scene->node : CSceneNode();
    }

    QPixmap GetSceneImage(const QUuid& groupId, const QUuid& sceneId) override
    {
        const SShow& show = CHostShow::GetInstance().Reading();
        const SScene* scene = Project() ? Project()->FindScene(groupId, sceneId) : nullptr;
        return scene ? QPixmap::fromImage(Painting::PaintStage(show, *scene)) : QPixmap();
    }

    std::pair<QUuid, QUuid> GetCurPlayScene() override
    {
        const SPlayback& playback = CHostShow::GetInstance().Reading().playback;
        return {playback.group, playback.scene};
    }

    QUuid GetMainKVId() override { return Project() ? Project()->mainGroup : QUuid(); }

    std::shared_ptr<const IEffectProperty> GetGlobalProperty() override
    {
        return Project() ? std::make_shared<const SEffect>(CHostShow::GetInstance().Reading().effect) : nullptr;
    }

    QJsonObject SaveSceneMgrModel(const QString&) override
    {
        if (!Project())
            return {};
        QJsonObject saved = ListOf("groups", Project()->groups);
        saved["mainGroup"] = Project()->mainGroup.toString(QUuid::WithoutBraces);
        return saved;
    }

private:
    static const SProject* Project() { return CHostShow::GetInstance().Reading().Project(); }

    static const SSceneGroup* FindGroup(const QUuid& groupId)
    {
        return Project() ? Project()->FindGroup(groupId) : nullptr;
    }
};

} // namespace

CSceneMgrModel* CSceneMgrModel::GetInstance()
{
    static CHostSceneMgrModel model;
    CHostShow::GetInstance().BeginReading();
    return &model;
}
