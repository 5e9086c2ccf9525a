#include "ExternalController/Common/Command.h"
#include "HostModels/HostModels.h"
#include "Senders/Case.h"
#include "Senders/DirectText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>
#include <utility>

namespace {

constexpr double kAim = 2;
constexpr int kScenesOfGroup = 100;
constexpr int kMediaOfScene = 3;

struct SGroup {
    QUuid id;
    QString name;
    std::vector<SSceneProperties> scenes;
};

std::vector<SGroup> MakeGroups(int count)
{
    std::vector<SGroup> groups;
    for (int g = 0; g < count; ++g) {
        SGroup group = {IdOf(1, g), QStringLiteral("Scene group %1").arg(g), {}};
        for (int s = 0; s < kScenesOfGroup; ++s) {
            const int number = g * kScenesOfGroup + s;
            SSceneProperties scene = {IdOf(2, number), QStringLiteral("Scene %1").arg(s), 500, 1000 + s, {}, {}};
            for (int m = 0; m < kMediaOfScene; ++m)
                scene.mediaResourceIds.push_back(IdOf(3, number * kMediaOfScene + m));
            group.scenes.push_back(scene);
        }
        groups.push_back(group);
    }
    return groups;
}

SShow ShowOf(const std::vector<SGroup>& groups)
{
    SProject project;
    for (const SGroup& group : groups) {
        SSceneGroup ofShow = {group.id, group.name, {}, {}};
        for (const SSceneProperties& scene : group.scenes)
            ofShow.Add({CSceneNode(std::make_shared<const SSceneProperties>(scene)), {}});
        project.Add(std::move(ofShow));
    }
    SShow show = ShowOf(std::move(project));
    show.playback.group = groups.front().id;
    show.playback.scene = groups.front().scenes.front().id;
    return show;
}

QJsonObject SceneByHand(const SSceneProperties& scene)
{
    QJsonArray media;
    for (const QUuid& id : scene.mediaResourceIds)
        media.append(id.toString());
    QJsonObject object;
    object.insert(QLatin1String("currentIndex"), 0);
    object.insert(QLatin1String("fadeInTime"), scene.fadeInTime);
    object.insert(QLatin1String("fadeOutTime"), scene.fadeOutTime);
    object.insert(QLatin1String("sceneId"), scene.id.toString(QUuid::WithoutBraces));
    object.insert(QLatin1String("sceneName"), scene.name);
    object.insert(QLatin1String("mediaIdList"), media);
    return object;
}

QJsonObject GroupByHand(const SGroup& group)
{
    const int count = static_cast<int>(group.scenes.size());
    QJsonObject object;
    object.insert(QLatin1String("count"), count);
    object.insert(QLatin1String("sceneGroupId"), group.id.toString(QUuid::WithoutBraces));
    object.insert(QLatin1String("sceneGroupName"), group.name);
    for (const int number : InTextOrder(count))
        object.insert(QString::number(number), SceneByHand(group.scenes[static_cast<std::size_t>(number)]));
    return object;
}

QByteArray ByHand(const std::vector<SGroup>& groups)
{
    const int count = static_cast<int>(groups.size());
    QJsonObject list;
    for (const int number : InTextOrder(count))
        list.insert(QString::number(number), GroupByHand(groups[static_cast<std::size_t>(number)]));
    QJsonObject data;
    data.insert(QLatin1String("result"), 1);
    data.insert(QLatin1String("currentSceneGroupId"), groups.front().id.toString(QUuid::WithoutBraces));
    data.insert(QLatin1String("currentSceneId"), groups.front().scenes.front().id.toString(QUuid::WithoutBraces));
    data.insert(QLatin1String("count"), count);
    data.insert(QLatin1String("sceneGroupDataList"), list);
    QJsonObject reply;
    reply.insert(QLatin1String("sceneMgrData"), data);
    return QJsonDocument(reply).toJson();
}

void WriteDirect(CJsonText& text, const SSceneProperties& scene)
{
    CDirectObject object(text, 16);
    object.Set("currentIndex", 0);
    object.Set("fadeInTime", scene.fadeInTime);
    object.Set("fadeOutTime", scene.fadeOutTime);
    object.Key("mediaIdList");
    text.Add("[\n");
    for (const QUuid& id : scene.mediaResourceIds) {
        text.Add(&id == scene.mediaResourceIds.data() ? "                        " : ",\n                        ");
        text.AddBracedUuid(id);
    }
    text.Add("\n                    ]");
    object.Set("sceneId", scene.id);
    object.Set("sceneName", scene.name);
}

void WriteDirect(CJsonText& text, const SGroup& group)
{
    CDirectObject object(text, 12);
    for (const int number : InTextOrder(kScenesOfGroup)) {
        object.Key(std::to_string(number));
        WriteDirect(text, group.scenes[static_cast<std::size_t>(number)]);
    }
    object.Set("count", kScenesOfGroup);
    object.Set("sceneGroupId", group.id);
    object.Set("sceneGroupName", group.name);
}

QByteArray WriteDirect(const std::vector<SGroup>& groups)
{
    const int count = static_cast<int>(groups.size());
    CJsonText text;
    {
        CDirectObject reply(text, 0);
        reply.Key("sceneMgrData");
        CDirectObject data(text, 4);
        data.Set("count", count);
        data.Set("currentSceneGroupId", groups.front().id);
        data.Set("currentSceneId", groups.front().scenes.front().id);
        data.Set("result", 1);
        data.Key("sceneGroupDataList");
        CDirectObject list(text, 8);
        for (const int number : InTextOrder(count)) {
            list.Key(std::to_string(number));
            WriteDirect(text, groups[static_cast<std::size_t>(number)]);
        }
    }
    text.Add("\n");
    return text.Take();
}

SCase CaseOf(int count)
{
    const auto groups = std::make_shared<const std::vector<SGroup>>(MakeGroups(count));
    return {"scene-manager-data/" + std::to_string(count),
            count * kScenesOfGroup,
            kAim,
            [show = ShowOf(*groups)] { HostModels::Show().Load(show); },
            [] { Ask(Command::SceneManagerData, "{}"); },
            [groups] { return ByHand(*groups); },
            {},
            [groups] { return WriteDirect(*groups); }};
}

} // namespace

std::vector<SCase> Cases::SceneManagerData()
{
    return {CaseOf(25), CaseOf(50), CaseOf(100)};
}
