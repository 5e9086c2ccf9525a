#include "Support/ShowBuilder.h"

#include "HostModels/HostModels.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <utility>

namespace {

template <class Thing>
Thing Named(const char* kind, int id)
{
    Thing thing;
    thing.id = Id(id);
    thing.name = QString("%1 %2").arg(kind).arg(id);
    return thing;
}

template <class Value>
auto Share(const Value& value)
{
    return std::make_shared<const Value>(value);
}

} // namespace

QUuid Id(int number)
{
    return QUuid(IdText(number));
}

QString IdText(int number)
{
    return QString("00000000-0000-0000-0000-%1").arg(number, 12, 10, QChar('0'));
}

QJsonObject Json(const std::string& text)
{
    QString whole = QString::fromStdString(text);
    static const QRegularExpression number("#(\\d+)");
    for (auto match = number.match(whole); match.hasMatch(); match = number.match(whole))
        whole.replace(match.capturedStart(), match.capturedLength(), IdText(match.captured(1).toInt()));
    const QJsonDocument document = QJsonDocument::fromJson(whole.toUtf8());
    EXPECT_TRUE(document.isObject()) << text;
    return document.object();
}

SResource MakeResource(int id, int type)
{
    auto properties = Named<SResourceProperties>("Resource", id);
    properties.type = type;
    properties.demuxered = true;
    return MakeResource(properties);
}

SResource MakeResource(const SResourceProperties& properties)
{
    SResource resource;
    resource.base = CResourceBase(Share(properties));
    resource.fileFound = true;
    return resource;
}

CMediaNode MakeMedium(int id, const SResource& resource, const std::function<void(SMediaProperties&)>& change)
{
    auto properties = Named<SMediaProperties>("Medium", id);
    properties.resourceId = resource.base.GetId();
    properties.resourceType = resource.base.GetType();
    properties.layout.size = QSize(200, 100);
    properties.layout.position = QPointF(100, 50);
    if (change)
        change(properties);
    return CMediaNode(Share(properties));
}

SScene MakeScene(int id, std::vector<CMediaNode> media)
{
    auto properties = Named<SSceneProperties>("Scene", id);
    properties.fadeInTime = 500;
    properties.fadeOutTime = 1500;
    for (const CMediaNode& medium : media)
        properties.mediaResourceIds.push_back(medium.GetResourceId());
    SScene scene;
    scene.node = CSceneNode(Share(properties));
    scene.media = std::move(media);
    return scene;
}

SSceneGroup MakeGroup(int id, const std::vector<SScene>& scenes)
{
    auto group = Named<SSceneGroup>("Group", id);
    for (const SScene& scene : scenes)
        group.Add(scene);
    return group;
}

SProject MakeProject(int id, const std::vector<SSceneGroup>& groups, const std::vector<SResource>& resources)
{
    auto project = Named<SProject>("Project", id);
    for (const SSceneGroup& group : groups)
        project.Add(group);
    for (const SResource& resource : resources)
        project.Add(resource);
    return project;
}

SScreen MakeScreen(int id)
{
    return Named<SScreen>("Screen", id);
}

void LoadShow(const std::vector<SProject>& projects, const std::vector<SScreen>& screens)
{
    SShow show;
    for (const SProject& project : projects)
        show.projects.push_back(Share(project));
    for (const SScreen& screen : screens)
        show.screens.push_back(Share(screen));
    show.playback.state = SPlayback::Paused;
    show.playback.globalState = SPlayback::Paused;
    show.playback.playedBefore = std::chrono::milliseconds(1500);
    if (show.Project() && !show.Project()->groups.empty()) {
        const SSceneGroup& group = *show.Project()->groups[0];
        show.playback.group = group.id;
        show.playback.scene = group.scenes.empty() ? QUuid() : group.scenes[0]->node.GetId();
    }
    HostModels::Show().Load(std::move(show));
}

void LoadStage(const std::vector<SResource>& resources, const std::vector<CMediaNode>& media)
{
    LoadShow({MakeProject(1, {MakeGroup(2, {MakeScene(3, media)})}, resources)});
}
