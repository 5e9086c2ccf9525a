#include "ShowHost/Page/ShowView.h"

#include "CloudControl/CloudControlConfig.h"
#include "ExternalController/Common/Percent.h"
#include "FPClient/FPClientConfig.h"
#include "HostModels/HostModels.h"
#include "HostModels/Pictures/Painting.h"
#include "HostModels/Pictures/ResourceCard.h"

#include <QJsonArray>
#include <QUrl>

#include <utility>

namespace {

constexpr QSize kThumbnail(384, 216);
/// Large enough for a browser's window. The time to paint and to encode the picture depends on the number of pixels.
constexpr QSize kMaxPicture(1920, 1200);

QString IdText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces);
}

template <class List, class Convert>
QJsonArray ArrayOf(const List& list, Convert convert)
{
    QJsonArray array;
    for (const auto& item : list)
        array.append(convert(*item));
    return array;
}

QJsonObject RectObject(const QRect& rect)
{
    return {{"x", rect.x()}, {"y", rect.y()}, {"width", rect.width()}, {"height", rect.height()}};
}

QJsonObject ScreenObject(const SScreen& screen)
{
    return {{"id", IdText(screen.id)}, {"name", screen.name}, {"place", RectObject(screen.place)},
            {"state", screen.state},   {"open", screen.open}, {"added", screen.added},
            {"useful", screen.useful}};
}

QJsonObject SceneObject(const SScene& scene)
{
    return {{"id", IdText(scene.node.GetId())},
            {"name", scene.node.GetName()},
            {"media", static_cast<int>(scene.media.size())}};
}

QJsonObject GroupObject(const SSceneGroup& group)
{
    return {{"id", IdText(group.id)}, {"name", group.name}, {"scenes", ArrayOf(group.scenes, SceneObject)}};
}

QJsonObject ResourceObject(const SResource& resource)
{
    return {{"id", IdText(resource.base.GetId())},
            {"name", resource.base.GetName()},
            {"kind", KindName(resource.base.GetType())},
            {"details", DetailsOf(resource)},
            {"ready", resource.base.GetResDemuxered()}};
}

QString StateText(const SPlayback& playback)
{
    switch (playback.state) {
    case SPlayback::Playing:
        return QStringLiteral("playing");
    case SPlayback::Paused:
        return QStringLiteral("paused");
    case SPlayback::Stopped:
        break;
    }
    return QStringLiteral("stopped");
}

QJsonObject PlaybackObject(const SShow& show)
{
    const SPlayback& playback = show.playback;
    const SSceneGroup* group = show.Project() ? show.Project()->FindGroup(playback.group) : nullptr;
    const SScene* scene = show.CurrentScene();
    return {{"group", IdText(playback.group)},
            {"scene", IdText(playback.scene)},
            {"groupName", group ? group->name : QString()},
            {"sceneName", scene ? scene->node.GetName() : QString()},
            {"state", StateText(playback)},
            {"position", static_cast<double>(playback.PositionAt(SPlayback::Clock::now()).count())},
            {"left", Percent(playback.leftVolume)},
            {"right", Percent(playback.rightVolume)}};
}

} // namespace

QJsonObject ShowView::Stage(const SShow& show)
{
    QJsonArray projects;
    for (const auto& project : show.projects)
        projects.append(QJsonObject{{"id", IdText(project->id)}, {"name", project->name}});
    QJsonArray used;
    const QHash<QUuid, int> useCounts = show.UseCounts();
    for (auto use = useCounts.constBegin(); use != useCounts.constEnd(); ++use)
        used.append(IdText(use.key()));
    const SProject* project = show.Project();
    return {{"show", show.name},
            {"project", project ? IdText(project->id) : QString()},
            {"projects", projects},
            {"playback", PlaybackObject(show)},
            {"volume", Percent(show.effect.volume)},
            {"mute", show.effect.mute},
            {"brightness", Percent(show.effect.luminance)},
            {"black", show.effect.black},
            {"hdr", project && project->hdr},
            {"softwareHdr", project && project->hdrKind == 1},
            {"area", RectObject(Painting::StageArea(show))},
            {"screens", ArrayOf(show.screens, ScreenObject)},
            {"used", used}};
}

QJsonObject ShowView::Project(const SProject& project)
{
    return {{"groups", ArrayOf(project.groups, GroupObject)},
            {"resources", ArrayOf(project.resources, ResourceObject)}};
}

QJsonObject ShowView::HostConnections()
{
    CHostUserModel& users = HostModels::UserModel();
    CHostSoftwareSetting& settings = HostModels::SoftwareSetting();
    const SFPClientConfig fp = FPClient::Config().Get();
    QJsonArray devices;
    for (const SDevice& device : HostModels::Devices().Current()->devices) {
        const bool isUdp = device.node.nDevType == DeviceType::Udp;
        devices.append(QJsonObject{{"name", device.node.strName},
                                   {"address", isUdp ? device.node.strIp + ':' + QString::number(device.node.nPort)
                                                     : device.node.strOpenParam}});
    }
    return {{"user", users.GetLoginState() ? users.GetCurrentLoginUser() : QString()},
            {"appVersion", users.GetCurLoginAppVersion()},
            {"cloudSupport", settings.GetCloudSupport()},
            {"cloudConnected", settings.IsCloudConnected()},
            {"cloudUrl", QUrl(QString::fromStdString(CloudControl::Config().Get().url)).toString(QUrl::RemoveUserInfo)},
            {"fpAddress", QString::fromStdString(AddressText(fp.host, fp.port))},
            {"devices", devices}};
}

std::function<QImage()> ShowView::Picture(std::shared_ptr<const SShow> show, const QString& path,
                                          const QUrlQuery& query)
{
    const auto id = [&](const char* key) { return QUuid(query.queryItemValue(key)); };
    const SProject* project = show->Project();
    if (path == QLatin1String("/stage.jpg")) {
        return [show = std::move(show)] {
            const SScene* scene = show->CurrentScene();
            return Painting::PaintStage(*show, scene ? *scene : SScene{}, kMaxPicture);
        };
    }
    if (path == QLatin1String("/resource.jpg")) {
        const SResource* resource = project ? project->ResourceById(id("id")) : nullptr;
        if (!resource)
            return {};
        return [show = std::move(show), resource] { return Painting::PaintResource(*resource, kThumbnail); };
    }
    const SScene* scene = project ? project->FindScene(id("group"), id("scene")) : nullptr;
    if (!scene || path != QLatin1String("/scene.jpg"))
        return {};
    return [show = std::move(show), scene] {
        SShow lit = *show; // a thumbnail shows the scene, also while the stage is dark
        lit.effect.black = false;
        lit.effect.luminance = 1;
        return Painting::PaintStage(lit, *scene, kThumbnail);
    };
}
