#include "HostModels/Show/ShowFile.h"

#include "ExternalController/Common/ResourceType.h"
#include "HostModels/Files/JsonFile.h"

#include <QFileInfo>
#include <QFont>
#include <QSet>

#include <utility>

namespace {

/// Larger than any stage, and small enough that the sum of two values doesn't overflow.
constexpr int kMaxPixels = 1000000;
constexpr double kMaxScrollSpeed = 1000000;

/// Reads the object's id. Fails if an earlier object of the same kind has it.
QUuid NewId(const CJsonObjectReader& reader, QSet<QUuid>& seen)
{
    const QUuid id = reader.RequiredId("id");
    if (seen.contains(id))
        reader.Fail("id", "another object has this id");
    seen.insert(id);
    return id;
}

SScrollSettings ReadScroll(const CJsonObjectReader& reader)
{
    reader.AllowOnly({"mode", "speed", "headConnectTail", "interval"});
    SScrollSettings scroll;
    scroll.mode = reader.Number("mode", 0);
    scroll.speed = reader.Real("speed", 0, -kMaxScrollSpeed, kMaxScrollSpeed);
    scroll.headConnectTail = reader.Flag("headConnectTail", false);
    scroll.interval = reader.Number("interval", 0);
    return scroll;
}

STextProperties ReadText(const CJsonObjectReader& reader)
{
    reader.AllowOnly({"content", "font", "size", "bold", "italic", "underline", "alignment", "color", "backColor",
                      "showType", "colorEffect"});
    STextProperties text;
    text.text = reader.Text("content", {});
    text.font.setFamily(reader.Text("font", QStringLiteral("Sans")));
    text.font.setPixelSize(reader.Number("size", 48, 1, 10000));
    text.font.setBold(reader.Flag("bold", false));
    text.font.setItalic(reader.Flag("italic", false));
    text.font.setUnderline(reader.Flag("underline", false));
    text.horAlignment = reader.Number("alignment", TextAlignment::Left, TextAlignment::Left, TextAlignment::Last);
    text.textColor = reader.Color("color", text.textColor);
    text.hasBackColor = reader.Has("backColor");
    text.backColor = reader.Color("backColor", text.backColor);
    text.showType = reader.Number("showType", 0);
    text.colorTextEffect = reader.Number("colorEffect", 0);
    return text;
}

SResource ReadResource(const CJsonObjectReader& reader, QSet<QUuid>& ids)
{
    reader.AllowOnly({"id", "type", "name", "file", "width", "height", "duration", "demuxed", "groupType", "pages",
                      "text", "scroll"});
    SResourceProperties properties;
    properties.id = NewId(reader, ids);
    properties.type = reader.Number("type", 0, 0, ResourceType::Last);
    properties.name = reader.RequiredText("name");
    const QString file = reader.Text("file", {});
    properties.path = file.contains(QLatin1String("://")) ? file : reader.Path("file", {});
    properties.resolution = {reader.Number("width", 0, 0, kMaxPixels), reader.Number("height", 0, 0, kMaxPixels)};
    properties.demuxered = reader.Flag("demuxed", true);
    properties.duration = reader.Milliseconds("duration", 0);

    SResource resource;
    resource.fileFound = QFileInfo(properties.path).isFile();
    resource.groupType = reader.Number("groupType", 0);
    if (reader.Has("groupType") && properties.type != ResourceType::Group)
        reader.Fail("groupType", "only a group (type 4) has it");
    resource.pages = reader.Number("pages", 1, 1);
    resource.text = ReadText(reader.Object("text"));
    if (reader.Has("text") && properties.type != ResourceType::Text)
        reader.Fail("text", "only a text (type 10) has it");
    if (reader.Has("scroll"))
        resource.scroll = ReadScroll(reader.Object("scroll"));
    resource.base = CResourceBase(std::make_shared<const SResourceProperties>(std::move(properties)));
    return resource;
}

SLayoutProperty ReadLayout(const CJsonObjectReader& reader, const QSize& usualSize)
{
    SLayoutProperty layout;
    layout.rotation = reader.Real("rotation", 0, -360, 360);
    layout.size = {reader.Number("width", usualSize.width(), 0, kMaxPixels),
                   reader.Number("height", usualSize.height(), 0, kMaxPixels)};
    layout.position = {reader.Real("x", 0, -kMaxPixels, kMaxPixels), reader.Real("y", 0, -kMaxPixels, kMaxPixels)};
    layout.hidden = reader.Flag("hidden", false);
    layout.locked = reader.Flag("locked", false);
    layout.horFlip = reader.Flag("horFlip", false);
    layout.verFlip = reader.Flag("verFlip", false);
    layout.fixed = reader.Flag("fixed", false);
    layout.fillType = reader.Number("fillType", 0);
    layout.blendType = reader.Number("blendType", 0);
    layout.corners = CornersOf(layout);
    return layout;
}

CMediaNode ReadMedia(const CJsonObjectReader& reader, const SProject& project, QSet<QUuid>& ids)
{
    reader.AllowOnly({"id",        "name",     "resource",  "x",         "y",       "width",
                      "height",    "rotation", "hidden",    "locked",    "horFlip", "verFlip",
                      "fixed",     "fillType", "blendType", "startTime", "muted",   "currentState",
                      "totalTime", "playMode", "scroll",    "pageScroll"});
    SMediaProperties media;
    media.id = NewId(reader, ids);
    media.resourceId = reader.RequiredId("resource");
    const SResource* resource = project.ResourceById(media.resourceId);
    if (!resource)
        reader.Fail("resource",
                    "no resource of this project has the id " + media.resourceId.toString(QUuid::WithoutBraces));
    media.resourceType = resource->base.GetType();
    media.name = reader.Text("name", resource->base.GetName());
    media.layout = ReadLayout(reader, resource->base.GetResolution());
    media.play.startPlayTime = reader.Milliseconds("startTime", 0);
    media.play.muted = reader.Flag("muted", false);
    media.play.currentState = reader.Number("currentState", 0, 0);
    media.play.scroll = ReadScroll(reader.Object("scroll"));
    media.timing.totalTime = reader.Milliseconds("totalTime", resource->base.GetDuration());
    media.timing.playMode = reader.Number("playMode", 0);
    media.pageScroll = ReadScroll(reader.Object("pageScroll"));
    return CMediaNode(std::make_shared<const SMediaProperties>(std::move(media)));
}

void ReadDeviceCommands(const CJsonObjectReader& scene, const char* key, SceneTrigger::Trigger trigger,
                        std::vector<SSceneExControlCmd>& commands)
{
    for (const CJsonObjectReader& reader : scene.Objects(key)) {
        reader.AllowOnly({"device", "command"});
        SSceneExControlCmd command;
        command.id = QUuid::createUuid();
        command.devId = reader.RequiredId("device");
        command.cmdId = reader.RequiredId("command");
        command.nTriggerType = trigger;
        commands.push_back(std::move(command));
    }
}

SScene ReadScene(const CJsonObjectReader& reader, const SProject& project, QSet<QUuid>& ids, QSet<QUuid>& mediaIds)
{
    reader.AllowOnly({"id", "name", "fadeIn", "fadeOut", "media", "startCommands", "endCommands"});
    SSceneProperties properties;
    properties.id = NewId(reader, ids);
    properties.name = reader.RequiredText("name");
    properties.fadeInTime = reader.Number("fadeIn", 0, 0);
    properties.fadeOutTime = reader.Number("fadeOut", 0, 0);
    ReadDeviceCommands(reader, "startCommands", SceneTrigger::Start, properties.exControlCmds);
    ReadDeviceCommands(reader, "endCommands", SceneTrigger::End, properties.exControlCmds);

    SScene scene;
    for (const CJsonObjectReader& media : reader.Objects("media")) {
        scene.media.push_back(ReadMedia(media, project, mediaIds));
        properties.mediaResourceIds.push_back(scene.media.back().GetResourceId());
    }
    scene.node = CSceneNode(std::make_shared<const SSceneProperties>(std::move(properties)));
    return scene;
}

SProject ReadProject(const CJsonObjectReader& reader, QSet<QUuid>& ids)
{
    reader.AllowOnly({"id", "name", "appControlMode", "stageZoomRatio", "hdr", "mainGroup", "resources", "groups"});
    SProject project;
    project.id = NewId(reader, ids);
    project.name = reader.RequiredText("name");
    project.appControlMode = reader.Number("appControlMode", 0);
    project.stageZoomRatio = reader.Text("stageZoomRatio", project.stageZoomRatio);
    const CJsonObjectReader hdr = reader.Object("hdr");
    hdr.AllowOnly({"on", "kind"});
    project.hdr = hdr.Flag("on", false);
    project.hdrKind = hdr.Choice("kind", 0, {"hardware", "software"});

    QSet<QUuid> resourceIds;
    for (const CJsonObjectReader& resource : reader.Objects("resources"))
        project.Add(ReadResource(resource, resourceIds));

    QSet<QUuid> groupIds;
    QSet<QUuid> sceneIds;
    QSet<QUuid> mediaIds;
    for (const CJsonObjectReader& group : reader.Objects("groups")) {
        group.AllowOnly({"id", "name", "scenes"});
        SSceneGroup read;
        read.id = NewId(group, groupIds);
        read.name = group.RequiredText("name");
        for (const CJsonObjectReader& scene : group.Objects("scenes"))
            read.Add(ReadScene(scene, project, sceneIds, mediaIds));
        project.Add(std::move(read));
    }
    project.mainGroup = reader.Id("mainGroup", project.groups.empty() ? QUuid() : project.groups.front()->id);
    if (reader.Has("mainGroup") && !project.FindGroup(project.mainGroup))
        reader.Fail("mainGroup", "no scene group has this id");
    return project;
}

SScreen ReadScreen(const CJsonObjectReader& reader, QSet<QUuid>& ids)
{
    reader.AllowOnly({"id", "name", "x", "y", "width", "height", "state", "open", "added", "useful", "division"});
    SScreen screen;
    screen.id = NewId(reader, ids);
    screen.name = reader.RequiredText("name");
    screen.place = {reader.Number("x", 0, -kMaxPixels, kMaxPixels), reader.Number("y", 0, -kMaxPixels, kMaxPixels),
                    reader.Number("width", 1920, 1, kMaxPixels), reader.Number("height", 1080, 1, kMaxPixels)};
    screen.state = static_cast<std::uint8_t>(reader.Number("state", 0, 0, 255));
    screen.open = reader.Flag("open", true);
    screen.added = reader.Flag("added", true);
    screen.useful = reader.Flag("useful", true);

    const CJsonObjectReader division = reader.Object("division");
    division.AllowOnly({"type", "parts"});
    screen.divisionType = division.Number("type", 0);
    for (const CJsonObjectReader& part : division.Objects("parts")) {
        part.AllowOnly({"x", "y", "width", "height"});
        screen.divisions.append(QRectF(part.Real("x", 0, 0, kMaxPixels), part.Real("y", 0, 0, kMaxPixels),
                                       part.Real("width", 0, 0, kMaxPixels), part.Real("height", 0, 0, kMaxPixels)));
    }
    return screen;
}

SEffect ReadEffect(const CJsonObjectReader& reader)
{
    reader.AllowOnly({"black", "mute", "volume", "blue", "red", "green", "contrast", "luminance", "saturation", "hue"});
    SEffect effect;
    const auto share = [&](const char* key, float& value) { value = reader.Real(key, double{value}, 0, 1); };
    effect.black = reader.Flag("black", false);
    effect.mute = reader.Flag("mute", false);
    share("volume", effect.volume);
    share("blue", effect.blue);
    share("red", effect.red);
    share("green", effect.green);
    share("contrast", effect.contrast);
    share("luminance", effect.luminance);
    share("saturation", effect.saturation);
    share("hue", effect.hue);
    return effect;
}

SPlayback ReadPlayback(const CJsonObjectReader& reader, const SShow& show)
{
    reader.AllowOnly({"scene", "state", "position", "leftVolume", "rightVolume"});
    SPlayback playback;
    playback.leftVolume = reader.Real("leftVolume", 1, 0, 1);
    playback.rightVolume = reader.Real("rightVolume", 1, 0, 1);
    playback.scene = reader.Id("scene", {});
    if (playback.scene.isNull())
        return playback;

    if (const SProject* project = show.Project()) {
        for (const auto& group : project->groups) {
            if (group->FindScene(playback.scene))
                playback.group = group->id;
        }
    }
    if (playback.group.isNull())
        reader.Fail("scene", "no scene of the open project has this id");
    playback.playedBefore = std::chrono::milliseconds(reader.Milliseconds("position", 0));
    playback.since = SPlayback::Clock::now();
    playback.state =
        static_cast<SPlayback::State>(reader.Choice("state", SPlayback::Stopped, {"playing", "paused", "stopped"}));
    playback.globalState = playback.state;
    return playback;
}

std::size_t PlaceOfOpenProject(const CJsonObjectReader& reader, const SShow& show)
{
    if (!reader.Has("openProject"))
        return 0;
    const QUuid id = reader.RequiredId("openProject");
    for (std::size_t place = 0; place < show.projects.size(); ++place) {
        if (show.projects[place]->id == id)
            return place;
    }
    reader.Fail("openProject", "no project has this id");
}

} // namespace

SShowFile ReadShowFile(const QString& file)
{
    const CJsonObjectReader top(file);
    top.AllowOnly({"name", "settings", "devices", "openProject", "projects", "screens", "effect", "playback"});
    SShow show;
    show.file = file;
    show.name = top.RequiredText("name");
    QSet<QUuid> projectIds;
    for (const CJsonObjectReader& project : top.Objects("projects"))
        show.projects.push_back(std::make_shared<const SProject>(ReadProject(project, projectIds)));
    show.openProject = PlaceOfOpenProject(top, show);
    QSet<QUuid> screenIds;
    for (const CJsonObjectReader& screen : top.Objects("screens"))
        show.screens.push_back(std::make_shared<const SScreen>(ReadScreen(screen, screenIds)));
    show.effect = ReadEffect(top.Object("effect"));
    show.playback = ReadPlayback(top.Object("playback"), show);
    return {std::move(show), ReadSettings(top.Object("settings")), top.Path("devices", {})};
}
