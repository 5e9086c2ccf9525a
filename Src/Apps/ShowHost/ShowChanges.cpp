#include "ShowHost/ShowChanges.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Percent.h"
#include "ExternalController/Common/ResourceType.h"
#include "HostModels/Show/ShowEdit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace {

using Events = std::vector<SShowEvent>;
using ResultText::Index;

constexpr int kPercent = 100;

// Reading a body. If "param" is absent, the command's keyword can give the value.

QString Keyword(const QJsonObject& body)
{
    return body["cmd"].toString();
}

std::optional<int> WholeNumber(const QJsonValue& value)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(std::abs(number) <= std::numeric_limits<int>::max()) || number != std::floor(number))
        return std::nullopt;
    return static_cast<int>(number);
}

/// Returns nothing if the body has no valid value. offKeyword is null if no keyword switches off.
std::optional<bool> Switch(const QJsonObject& body, const char* onKeyword, const char* offKeyword = nullptr)
{
    const QJsonValue param = body["param"];
    if (param.isUndefined()) {
        if (Keyword(body) == QLatin1String(onKeyword))
            return true;
        if (offKeyword && Keyword(body) == QLatin1String(offKeyword))
            return false;
        return std::nullopt;
    }
    if (param.isBool())
        return param.toBool();
    const auto number = WholeNumber(param);
    if (number == 0 || number == 1)
        return number == 1;
    return std::nullopt;
}

/// Sets a value from 0 to 1 to the body's percentage. Leaves it unchanged on failure.
Index SetByPercent(const QJsonObject& body, float& share)
{
    const auto percent = WholeNumber(body["param"]);
    if (!percent)
        return ResultText::Parameter;
    if (*percent < 0 || *percent > kPercent)
        return ResultText::OutOfRange;
    share = static_cast<float>(*percent) / kPercent;
    // Replies contain whole per cent, rounded down: without this, 53 would be returned as 52, and 59 as 58.
    if (Percent(share) < *percent)
        share = std::nextafter(share, 1.0F);
    return ResultText::Success;
}

// Scenes.

/// Stops the current scene and makes a scene of the open project the current one; null ids select no scene.
void ChangeScene(SShow& show, const QUuid& groupId, const QUuid& sceneId, Events& events)
{
    if (show.playback.state != SPlayback::Stopped)
        events.push_back({SShowEvent::SceneEnded, show.playback.group, show.playback.scene});
    show.playback.group = groupId;
    show.playback.scene = sceneId;
    show.playback.Enter(SPlayback::Stopped, SPlayback::Clock::now());
}

void ReportUse(const QHash<QUuid, int>& before, const QHash<QUuid, int>& after, Events& events)
{
    const auto report = [&](const QHash<QUuid, int>& those, const QHash<QUuid, int>& others, bool used) {
        for (auto use = those.constBegin(); use != those.constEnd(); ++use) {
            if (!others.contains(use.key()))
                events.push_back({SShowEvent::ResourceUsed, use.key(), {}, used});
        }
    };
    report(before, after, false);
    report(after, before, true);
}

Index PlayAt(SShow& show, const SSceneGroup& group, std::size_t place, Events& events)
{
    const QHash<QUuid, int> usedBefore = show.UseCounts();
    ChangeScene(show, group.id, group.scenes[place]->node.GetId(), events);
    show.playback.Enter(SPlayback::Playing, SPlayback::Clock::now());
    events.push_back({SShowEvent::SceneStarted, show.playback.group, show.playback.scene});
    events.push_back({SShowEvent::ScenePlayed, show.playback.group, show.playback.scene});
    ReportUse(usedBefore, show.UseCounts(), events);
    return ResultText::Success;
}

Index PlayById(SShow& show, const QJsonObject& body, Events& events)
{
    const QUuid sceneId(body["sceneId"].toString());
    const QUuid groupId(body["sceneGroupId"].toString());
    if (sceneId.isNull() || (groupId.isNull() && body.contains("sceneGroupId")))
        return ResultText::Parameter;
    for (const auto& group : show.Project()->groups) {
        if ((groupId.isNull() || group->id == groupId) && group->FindScene(sceneId))
            return PlayAt(show, *group, group->sceneIndex[sceneId], events);
    }
    return ResultText::NoClip;
}

/// The group at the body's index "sceneGrpCol", counted from 1; without the key, the current group.
const SSceneGroup* GroupOf(const SShow& show, const QJsonObject& body, Index& failure)
{
    const QJsonValue place = body["sceneGrpCol"];
    if (place.isUndefined()) {
        failure = ResultText::NoClip;
        return show.Project()->FindGroup(show.playback.group);
    }
    const auto number = WholeNumber(place);
    const auto& groups = show.Project()->groups;
    failure = number ? ResultText::RowOrColumn : ResultText::Parameter;
    if (!number || *number < 1 || *number > static_cast<int>(groups.size()))
        return nullptr;
    return groups[static_cast<std::size_t>(*number - 1)].get();
}

Index PlayScene(SShow& show, const QJsonObject& body, Events& events)
{
    if (!show.Project())
        return ResultText::Fail;
    if (body.contains("sceneId"))
        return PlayById(show, body, events);
    const auto number = WholeNumber(body["sceneCol"]);
    if (!number)
        return ResultText::Parameter;
    Index failure = ResultText::Fail;
    const SSceneGroup* group = GroupOf(show, body, failure);
    if (!group)
        return failure;
    if (*number < 1 || *number > static_cast<int>(group->scenes.size()))
        return ResultText::RowOrColumn;
    return PlayAt(show, *group, static_cast<std::size_t>(*number - 1), events);
}

/// Plays the group's first scene.
Index SwitchSceneGroup(SShow& show, const QJsonObject& body, Events& events)
{
    if (!show.Project())
        return ResultText::Fail;
    Index failure = ResultText::Parameter;
    const SSceneGroup* group = nullptr;
    if (const QUuid groupId(body["sceneGroupId"].toString()); !groupId.isNull())
        group = show.Project()->FindGroup(groupId);
    else if (body.contains("sceneGrpCol") && !body.contains("sceneGroupId"))
        group = GroupOf(show, body, failure);
    if (!group)
        return failure;
    return group->scenes.empty() ? ResultText::NoClip : PlayAt(show, *group, 0, events);
}

/// Plays the next or the previous scene of the current group.
Index PlayNextOrLast(SShow& show, const QJsonObject& body, Events& events)
{
    const auto next = Switch(body, "playNext", "playLast");
    if (!next)
        return ResultText::Parameter;
    if (!show.CurrentScene())
        return ResultText::NoClip;
    const SSceneGroup& group = *show.Project()->FindGroup(show.playback.group);
    const std::size_t place = group.sceneIndex[show.playback.scene];
    if (*next ? place + 1 >= group.scenes.size() : place == 0)
        return ResultText::OutOfRange;
    return PlayAt(show, group, *next ? place + 1 : place - 1, events);
}

// Playback.

/// Values of "param"; ReadPlayControl has the keywords.
enum class EPlayControl : int {
    Continue = 0,
    Pause = 1,
    Stop = 2,
    Restart = 3,
};

std::optional<EPlayControl> ReadPlayControl(const QJsonObject& body)
{
    const auto number = WholeNumber(body["param"]);
    if (number && *number >= static_cast<int>(EPlayControl::Continue) &&
        *number <= static_cast<int>(EPlayControl::Restart))
        return static_cast<EPlayControl>(*number);
    constexpr struct {
        const char* keyword;
        EPlayControl control;
    } kKeywords[] = {{"continueAll", EPlayControl::Continue},
                     {"pauseAll", EPlayControl::Pause},
                     {"stop", EPlayControl::Stop},
                     {"restartAll", EPlayControl::Restart}};
    for (const auto& [keyword, control] : kKeywords) {
        if (!body.contains("param") && Keyword(body) == QLatin1String(keyword))
            return control;
    }
    return std::nullopt;
}

Index ControlPlayback(SShow& show, const QJsonObject& body, Events& events)
{
    const auto control = ReadPlayControl(body);
    if (!control)
        return ResultText::Parameter;
    if (!show.CurrentScene())
        return ResultText::NoClip;
    SPlayback& playback = show.playback;
    const bool wasStopped = playback.state == SPlayback::Stopped;
    const auto now = SPlayback::Clock::now();
    switch (*control) {
    case EPlayControl::Pause:
        if (!wasStopped)
            playback.Enter(SPlayback::Paused, now);
        return ResultText::Success;
    case EPlayControl::Stop:
        if (!wasStopped)
            events.push_back({SShowEvent::SceneEnded, playback.group, playback.scene});
        playback.Enter(SPlayback::Stopped, now);
        return ResultText::Success;
    case EPlayControl::Restart:
        playback.Enter(SPlayback::Stopped, now);
        break;
    case EPlayControl::Continue:
        break;
    }
    playback.Enter(SPlayback::Playing, now);
    if (wasStopped)
        events.push_back({SShowEvent::SceneStarted, playback.group, playback.scene});
    return ResultText::Success;
}

// The whole stage.

Index SetVolume(SShow& show, const QJsonObject& body, Events&)
{
    if (Keyword(body) != QLatin1String("adjustVolume"))
        return SetByPercent(body, show.effect.volume);
    const auto difference = WholeNumber(body["param"]);
    if (!difference)
        return ResultText::Parameter;
    if (std::abs(*difference) > kPercent)
        return ResultText::OutOfRange;
    const float volume = show.effect.volume + static_cast<float>(*difference) / kPercent;
    show.effect.volume = std::clamp(volume, 0.0F, 1.0F);
    return ResultText::Success;
}

Index SetMute(SShow& show, const QJsonObject& body, Events&)
{
    const auto mute = Switch(body, "globalMute", "globalUnMute");
    if (!mute)
        return ResultText::Parameter;
    show.effect.mute = *mute;
    return ResultText::Success;
}

Index SetBrightness(SShow& show, const QJsonObject& body, Events&)
{
    return SetByPercent(body, show.effect.luminance);
}

Index SetBlackScreen(SShow& show, const QJsonObject& body, Events&)
{
    const auto black = Switch(body, "blackAll");
    if (!black)
        return ResultText::Parameter;
    show.effect.black = *black;
    return ResultText::Success;
}

Index OpenScreens(SShow& show, const QJsonObject& body, Events&)
{
    const auto open = Switch(body, "OpenAllScreen", "CloseAllScreen");
    if (!open)
        return ResultText::Parameter;
    for (auto& screen : show.screens) {
        auto changed = std::make_shared<SScreen>(*screen);
        changed->open = *open;
        screen = std::move(changed);
    }
    return ResultText::Success;
}

// The project.

Index SwitchHdr(SShow& show, const QJsonObject& body, Events&)
{
    const auto on = Switch(body, "openHDR", "closeHDR");
    if (!on)
        return ResultText::Parameter;
    if (!show.Project())
        return ResultText::Fail;
    EditProject(show, [&](SProject& project) { project.hdr = *on; });
    return ResultText::Success;
}

Index SwitchHdrKind(SShow& show, const QJsonObject& body, Events&)
{
    const auto software = Switch(body, "switchSoftwareHDR", "switchHardwareHDR");
    if (!software)
        return ResultText::Parameter;
    if (!show.Project() || !show.Project()->hdr)
        return ResultText::HdrOff;
    EditProject(show, [&](SProject& project) { project.hdrKind = *software ? 1 : 0; });
    return ResultText::Success;
}

/// Finds a project by id, by name or by its index in the project list, counted from 0.
std::optional<std::size_t> FindProject(const SShow& show, const QJsonObject& body, Index& failure)
{
    failure = ResultText::Parameter;
    if (const auto place = WholeNumber(body["param"])) {
        failure = ResultText::OutOfRange;
        if (*place >= 0 && *place < static_cast<int>(show.projects.size()))
            return static_cast<std::size_t>(*place);
        return std::nullopt;
    }
    const QUuid id(body["projectId"].toString());
    const QString name = body["projectName"].toString();
    if (body.contains("projectId") ? id.isNull() : name.isEmpty())
        return std::nullopt;
    for (std::size_t place = 0; place < show.projects.size(); ++place) {
        const SProject& project = *show.projects[place];
        if (body.contains("projectId") ? project.id == id : project.name == name)
            return place;
    }
    return std::nullopt;
}

/// Opens the project and makes its first scene the current one, stopped.
Index SwitchProject(SShow& show, const QJsonObject& body, Events& events)
{
    Index failure = ResultText::Fail;
    const auto place = FindProject(show, body, failure);
    if (!place)
        return failure;
    const QHash<QUuid, int> usedBefore = show.UseCounts();
    ChangeScene(show, {}, {}, events);
    show.openProject = *place;
    const SSceneGroup* group = show.Project()->FindGroup(show.Project()->mainGroup);
    if (group && !group->scenes.empty())
        ChangeScene(show, group->id, group->scenes.front()->node.GetId(), events);
    events.push_back({SShowEvent::ScenePlayed, show.playback.group, show.playback.scene});
    ReportUse(usedBefore, show.UseCounts(), events);
    return ResultText::Success;
}

// Media.

Index TurnPages(SShow& show, const QJsonObject& body, Events&)
{
    const bool isKeywordAlone = !body.contains("param") && Keyword(body) == QLatin1String("turnAllPPT");
    const auto pages = isKeywordAlone ? std::optional(1) : WholeNumber(body["param"]);
    if (!pages)
        return ResultText::Parameter;
    bool isThere = false;
    bool turned = false;
    const SProject* project = show.Project();
    SShow changed = show;
    EditStageMedia(changed, [&](SMediaProperties& medium) {
        const SResource* resource = project->ResourceById(medium.resourceId);
        if (!resource || medium.resourceType != ResourceType::Presentation)
            return;
        isThere = true;
        const std::int64_t page = std::int64_t{medium.play.currentState} + *pages;
        if (page < 0 || page >= resource->pages)
            return;
        medium.play.currentState = static_cast<int>(page);
        turned = true;
    });
    if (!turned)
        return isThere ? ResultText::OutOfRange : ResultText::NoPresentation;
    show = std::move(changed);
    return ResultText::Success;
}

Index MuteMedia(SShow& show, const QJsonObject& body, Events&)
{
    const auto mute = Switch(body, "muteWnd", "unmuteWnd");
    const QUuid mediaId(body["mediaId"].toString());
    if (!mute || mediaId.isNull())
        return ResultText::Parameter;
    if (!show.CurrentScene() || !show.CurrentScene()->FindMedia(mediaId))
        return ResultText::NoClip;
    EditStageMedia(show, [&](SMediaProperties& medium) {
        if (medium.id == mediaId)
            medium.play.muted = *mute;
    });
    return ResultText::Success;
}

constexpr struct {
    Command::Code code;
    ShowChange change;
} kChanges[] = {
    {Command::SwitchProject, SwitchProject},
    {Command::BlackScreen, SetBlackScreen},
    {Command::PlayControl, ControlPlayback},
    {Command::Volume, SetVolume},
    {Command::OpenScreens, OpenScreens},
    {Command::PlayNextOrLast, PlayNextOrLast},
    {Command::Brightness, SetBrightness},
    {Command::SwitchHdrKind, SwitchHdrKind},
    {Command::SwitchHdr, SwitchHdr},
    {Command::Mute, SetMute},
    {Command::TurnPages, TurnPages},
    {Command::MuteMedia, MuteMedia},
    {Command::SwitchSceneGroup, SwitchSceneGroup},
    {Command::ScenePlay, PlayScene},
};

} // namespace

ShowChange FindShowChange(int cmdCode)
{
    for (const auto& [code, change] : kChanges) {
        if (code == cmdCode)
            return change;
    }
    return nullptr;
}

void TakeFile(SShow& show, SResourceProperties resource, std::vector<SShowEvent>& events)
{
    resource.demuxered = false;
    EditProject(show, [&](SProject& project) {
        const bool isKnown = EditResourcesOfFile(project, resource.path, [&](SResourceProperties& known) {
            if (known.demuxered)
                events.push_back({SShowEvent::ResourceDemuxed, known.id, {}, false});
            known.demuxered = false;
        });
        if (isKnown)
            return;
        SResource added;
        added.fileFound = true;
        added.base = CResourceBase(std::make_shared<const SResourceProperties>(std::move(resource)));
        project.Add(std::move(added));
    });
}

void Demux(SShow& show, const QUuid& projectId, const QString& path, const QSize& resolution,
           std::vector<SShowEvent>& events)
{
    EditProject(show, projectId, [&](SProject& project) {
        EditResourcesOfFile(project, path, [&](SResourceProperties& resource) {
            resource.demuxered = true;
            // Of the file types, only pictures are decoded: the resolution of others is unknown and stays.
            if (!resolution.isEmpty() || resource.type == ResourceType::Picture)
                resource.resolution = resolution.isEmpty() ? QSize(0, 0) : resolution;
            events.push_back({SShowEvent::ResourceDemuxed, resource.id, {}, true});
        });
    });
}
