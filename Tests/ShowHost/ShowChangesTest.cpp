#include "ShowHost/ShowChanges.h"

#include "Support/ShowBuilder.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Percent.h"
#include "ExternalController/Common/ResourceType.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

SResource MakeDocument(int id, int pages)
{
    SResource document = MakeResource(id, ResourceType::Presentation);
    document.pages = pages;
    return document;
}

/// Returns a show whose scene 12, the second of group 10, has this state. The scene contains the middle page of
/// document 5, the last page of document 6, and film 7.
SShow Stage(SPlayback::State state = SPlayback::Paused)
{
    const SResource film = MakeResource(7, ResourceType::Video);
    const SResource document = MakeDocument(5, 3);
    const SResource leaflet = MakeDocument(6, 2);
    const auto secondPage = [](SMediaProperties& medium) { medium.play.currentState = 1; };
    const SScene scene12 = MakeScene(12, {MakeMedium(121, document, secondPage), MakeMedium(122, leaflet, secondPage),
                                          MakeMedium(123, film), MakeMedium(124, film)});
    const SScene scene11 = MakeScene(11, {MakeMedium(111, film)});
    SProject first = MakeProject(
        1,
        {MakeGroup(10, {scene11, scene12, MakeScene(13, {MakeMedium(131, MakeResource(8, ResourceType::Video))})}),
         MakeGroup(20, {MakeScene(21), scene11}), MakeGroup(30, {})},
        {document, leaflet, film});
    first.hdr = true;
    SProject second = MakeProject(
        2, {MakeGroup(40, {MakeScene(41)}), MakeGroup(50, {MakeScene(51, {MakeMedium(511, film)}), MakeScene(52)})});
    second.mainGroup = Id(50);
    SScreen closed = MakeScreen(8);
    closed.open = false;

    SShow show;
    for (const SProject& project : {first, second, SProject()})
        show.projects.push_back(std::make_shared<const SProject>(project));
    for (const SScreen& screen : {MakeScreen(7), closed})
        show.screens.push_back(std::make_shared<const SScreen>(screen));
    show.effect.volume = 0.5F;
    show.playback.group = Id(10);
    show.playback.scene = Id(12);
    show.playback.state = state;
    show.playback.globalState = state;
    show.playback.playedBefore = std::chrono::seconds(7);
    show.playback.since = SPlayback::Clock::now() - std::chrono::hours(1);
    return show;
}

QString Number(const QUuid& id)
{
    return QString::number(id.toString(QUuid::WithoutBraces).right(12).toInt());
}

/// Returns everything in the show that commands can change.
QStringList StateOf(const SShow& show)
{
    const SPlayback& playback = show.playback;
    const auto onOff = [](bool on) { return on ? " on" : " off"; };
    const char* const states[] = {"playing", "paused", "stopped"};
    QStringList state = {QString("project at %1").arg(show.openProject),
                         "scene " + Number(playback.group) + '/' + Number(playback.scene),
                         states[playback.state],
                         QString("remotes get ") + states[playback.globalState],
                         QString("at %1 s").arg(playback.PositionAt(SPlayback::Clock::now()).count() / 1000),
                         QString("volume %1").arg(Percent(show.effect.volume)),
                         QString("brightness %1").arg(Percent(show.effect.luminance)),
                         QString("mute") + onOff(show.effect.mute),
                         QString("black") + onOff(show.effect.black)};
    for (const auto& screen : show.screens)
        state.append("screen " + Number(screen->id) + onOff(screen->open));
    for (const auto& project : show.projects) {
        state.append("hdr of " + Number(project->id) + onOff(project->hdr));
        state.append("hdr of " + Number(project->id) + (project->hdrKind == 1 ? " software" : " hardware"));
        for (const auto& resource : project->resources)
            state.append("resource " + Number(resource->base.GetId()) + (resource->fileFound ? " found" : "") +
                         (resource->base.GetResDemuxered() ? " ready" : "") +
                         QString(" %1x%2")
                             .arg(resource->base.GetResolution().width())
                             .arg(resource->base.GetResolution().height()));
        for (const auto& group : project->groups) {
            for (const auto& scene : group->scenes) {
                for (const CMediaNode& medium : scene->media)
                    state.append(QString("%1/%2: page %3%4")
                                     .arg(Number(group->id), Number(medium.GetId()))
                                     .arg(medium.GetPlayProperty()->currentState)
                                     .arg(medium.GetPlayProperty()->muted ? " muted" : ""));
            }
        }
    }
    return state;
}

QString TextOf(const SShowEvent& event)
{
    const QString scene = Number(event.id) + '/' + Number(event.second);
    switch (event.kind) {
    case SShowEvent::SceneStarted:
        return "start " + scene;
    case SShowEvent::SceneEnded:
        return "end " + scene;
    case SShowEvent::ScenePlayed:
        return "current " + scene;
    case SShowEvent::ResourceUsed:
        return (event.flag ? "used " : "unused ") + Number(event.id);
    case SShowEvent::ResourceDemuxed:
        return (event.flag ? "ready " : "unready ") + Number(event.id);
    }
    return {};
}

/// Returns what differs in the second show, and the events.
std::string Differences(const SShow& before, const SShow& after, const std::vector<SShowEvent>& events)
{
    const QStringList stateBefore = StateOf(before);
    QStringList different = StateOf(after);
    for (const QString& value : stateBefore)
        different.removeOne(value);
    QStringList reported;
    std::transform(events.begin(), events.end(), std::back_inserter(reported), TextOf);
    // Scene events come first and in order; the order of the resources is not defined.
    std::sort(std::find_if(reported.begin(), reported.end(), [](const QString& text) { return text.contains("used"); }),
              reported.end());
    return (different + reported).join(", ").toStdString();
}

struct SCase {
    Command::Code code;
    const char* body;     ///< without the braces
    std::string expected; ///< the differences and events of a command that succeeds; otherwise the result's text
};

void Check(const SShow& before, const std::vector<SCase>& cases)
{
    for (const auto& [code, body, expected] : cases) {
        const ShowChange change = FindShowChange(code);
        ASSERT_TRUE(change) << code;
        SShow show = before;
        std::vector<SShowEvent> events;
        const ResultText::Index result = change(show, Json('{' + std::string(body) + '}'), events);
        EXPECT_EQ((result == ResultText::Success ? "" : ResultTextMap.at(result)) + Differences(before, show, events),
                  expected)
            << Command::Code(code) << ' ' << body;
    }
}

using namespace Command;

const std::string kFail = ResultTextMap.at(ResultText::Fail);
const std::string kRange = ResultTextMap.at(ResultText::OutOfRange);
const std::string kPosition = ResultTextMap.at(ResultText::RowOrColumn);
const std::string kNoClip = ResultTextMap.at(ResultText::NoClip);
const std::string kNoPresentation = ResultTextMap.at(ResultText::NoPresentation);
const std::string kParameter = ResultTextMap.at(ResultText::Parameter);
const std::string kHdrOff = ResultTextMap.at(ResultText::HdrOff);

const std::string kPlaying = "playing, remotes get playing, at 0 s, ";
const std::string kPlay11 = "scene 10/11, " + kPlaying + "end 10/12, start 10/11, current 10/11, unused 5, unused 6";
const std::string kPlay13 =
    "scene 10/13, " + kPlaying + "end 10/12, start 10/13, current 10/13, unused 5, unused 6, unused 7, used 8";
const std::string kPlay21 =
    "scene 20/21, " + kPlaying + "end 10/12, start 20/21, current 20/21, unused 5, unused 6, unused 7";
const std::string kOpen = "scene 0/0, stopped, remotes get stopped, at 0 s, end 10/12, ";
const std::string kOpen2 = "project at 1, scene 50/51, stopped, remotes get stopped, at 0 s, "
                           "end 10/12, current 50/51, unused 5, unused 6";
const std::string kOpen3 = "project at 2, " + kOpen + "current 0/0, unused 5, unused 6, unused 7";

} // namespace

TEST(ShowChangesTest, AValueIsReadFromTheParameterOrFromTheKeyword)
{
    SShow dark = Stage();
    dark.effect = {};
    dark.effect.black = true;
    dark.effect.mute = true;
    Check(dark, {{BlackScreen, R"("param": 0, "cmd": "blackAll")", "black off"},
                 {BlackScreen, R"("param": false)", "black off"},
                 {Mute, R"("param": 0)", "mute off"},
                 {Mute, R"("cmd": "globalUnMute")", "mute off"}});
    Check(Stage(), {{BlackScreen, R"("cmd": "blackAll")", "black on"},
                    {BlackScreen, R"("param": 1)", "black on"},
                    {BlackScreen, R"("param": true)", "black on"},
                    {Mute, R"("cmd": "globalMute")", "mute on"},
                    {Mute, R"("param": 1)", "mute on"},
                    {OpenScreens, R"("cmd": "OpenAllScreen")", "screen 8 on"},
                    {OpenScreens, R"("cmd": "CloseAllScreen")", "screen 7 off"},
                    {OpenScreens, R"("param": 1)", "screen 8 on"},
                    {OpenScreens, R"("param": 0)", "screen 7 off"},
                    {SwitchHdr, R"("cmd": "closeHDR")", "hdr of 1 off"},
                    {SwitchHdr, R"("cmd": "openHDR")", ""},
                    {SwitchHdrKind, R"("cmd": "switchSoftwareHDR")", "hdr of 1 software"},
                    {SwitchHdrKind, R"("param": 1)", "hdr of 1 software"},
                    {SwitchHdrKind, R"("cmd": "switchHardwareHDR")", ""}});
}

TEST(ShowChangesTest, AMissingOrUnreadableKeyIsAParameterErrorAndChangesNothing)
{
    std::vector<SCase> cases = {
        {TurnPages, R"("cmd": "turnAllPPT", "param": null)", kParameter},
        {BlackScreen, R"("cmd": "")", kParameter},
        {PlayControl, R"("cmd": "pauseAll", "param": null)", kParameter},
        {PlayControl, R"("param": -1)", kParameter},
        {PlayControl, R"("param": 4)", kParameter},
        {MuteMedia, R"("mediaId": "#123")", kParameter},
        {MuteMedia, R"("param": 1)", kParameter},
        {SwitchSceneGroup, R"("sceneGroupId": "the second", "sceneGrpCol": 1)", kParameter},
        {SwitchSceneGroup, R"("sceneGroupId": "#99")", kParameter},
        {SwitchSceneGroup, R"("sceneGrpCol": 1.5)", kParameter},
        {ScenePlay, R"("sceneCol": "1")", kParameter},
        {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": "1")", kParameter},
        {ScenePlay, R"("sceneId": "the first")", kParameter},
        {ScenePlay, R"("sceneId": "#11", "sceneGroupId": "the second")", kParameter},
        {SwitchProject, R"("projectName": 1)", kParameter},
        {SwitchProject, R"("projectName": "")", kParameter},
        {SwitchProject, R"("projectName": "Project 9")", kParameter},
        {SwitchProject, R"("projectId": "the second", "projectName": "Project 2")", kParameter},
        {SwitchProject, R"("projectId": "#9")", kParameter},
    };
    for (const Code code : {BlackScreen, PlayControl, Volume, OpenScreens, PlayNextOrLast, Brightness, SwitchHdrKind,
                            SwitchHdr, Mute, TurnPages, MuteMedia, SwitchSceneGroup, ScenePlay, SwitchProject}) {
        for (const char* body : {"", R"("param": "1")", R"("param": null)", R"("param": 0.5)", R"("param": 2147483648)",
                                 R"("param": -1e300)", R"("param": [1])", R"("cmd": "unknown")"})
            cases.push_back({code, body, kParameter});
    }
    for (const Code code : {BlackScreen, OpenScreens, PlayNextOrLast, SwitchHdrKind, SwitchHdr, Mute}) {
        cases.push_back({code, R"("param": 2)", kParameter});
        cases.push_back({code, R"("param": -1)", kParameter});
    }

    Check(Stage(), cases);
}

TEST(ShowChangesTest, ALevelIsAPercentageThatRemotesReadBackUnchanged)
{
    for (int percent = 0; percent < 100; ++percent) {
        const std::string body = "\"param\": " + std::to_string(percent);
        const std::string text = std::to_string(percent);
        Check(Stage(), {{Brightness, body.c_str(), "brightness " + text},
                        {Volume, body.c_str(), percent == 50 ? "" : "volume " + text}});
    }
    Check(Stage(), {{Volume, R"("param": 100)", "volume 100"},
                    {Volume, R"("param": 101)", kRange},
                    {Volume, R"("param": -1)", kRange},
                    {Brightness, R"("param": 101)", kRange},
                    {Brightness, R"("param": -1)", kRange},
                    {Volume, R"("cmd": "adjustVolume", "param": 25)", "volume 75"},
                    {Volume, R"("cmd": "adjustVolume", "param": -25)", "volume 25"},
                    {Volume, R"("cmd": "adjustVolume", "param": 100)", "volume 100"},
                    {Volume, R"("cmd": "adjustVolume", "param": -100)", "volume 0"},
                    {Volume, R"("cmd": "adjustVolume", "param": 101)", kRange},
                    {Volume, R"("cmd": "adjustVolume", "param": -101)", kRange},
                    {Volume, R"("cmd": "adjustVolume")", kParameter}});
}

TEST(ShowChangesTest, ASceneIsPlayedByItsPositionOrById)
{
    Check(Stage(), {{ScenePlay, R"("sceneCol": 1)", kPlay11},
                    {ScenePlay, R"("sceneCol": 3)", kPlay13},
                    {ScenePlay, R"("sceneCol": 0)", kPosition},
                    {ScenePlay, R"("sceneCol": 4)", kPosition},
                    {ScenePlay, R"("sceneCol": 2)", kPlaying + "end 10/12, start 10/12, current 10/12"},
                    {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": 1)", kPlay11},
                    {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": 2)", kPlay21},
                    {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": 3)", kPosition},
                    {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": 0)", kPosition},
                    {ScenePlay, R"("sceneCol": 1, "sceneGrpCol": 4)", kPosition},
                    {ScenePlay, R"("sceneId": "#11")", kPlay11},
                    {ScenePlay, R"("sceneId": "#21")", kPlay21},
                    {ScenePlay, R"("sceneId": "#21", "sceneGroupId": "#20")", kPlay21},
                    {ScenePlay, R"("sceneId": "#11", "sceneGroupId": "#20")",
                     "scene 20/11, " + kPlaying + "end 10/12, start 20/11, current 20/11, unused 5, unused 6"},
                    {ScenePlay, R"("sceneId": "#21", "sceneGroupId": "#10")", kNoClip},
                    {ScenePlay, R"("sceneId": "#51")", kNoClip},
                    {SwitchSceneGroup, R"("sceneGrpCol": 1)", kPlay11},
                    {SwitchSceneGroup, R"("sceneGrpCol": 2)", kPlay21},
                    {SwitchSceneGroup, R"("sceneGrpCol": 3)", kNoClip},
                    {SwitchSceneGroup, R"("sceneGrpCol": 4)", kPosition},
                    {SwitchSceneGroup, R"("sceneGrpCol": 0)", kPosition},
                    {SwitchSceneGroup, R"("sceneGroupId": "#20", "sceneGrpCol": 1)", kPlay21},
                    {SwitchSceneGroup, R"("sceneGroupId": "#30")", kNoClip}});
    Check(Stage(SPlayback::Stopped), {{ScenePlay, R"("sceneCol": 1)",
                                       "scene 10/11, " + kPlaying + "start 10/11, current 10/11, unused 5, unused 6"}});
}

TEST(ShowChangesTest, TheNextSceneIsPlayedUpToTheLastAndThePreviousDownToTheFirst)
{
    const auto at = [](int scene) {
        SShow show = Stage();
        show.playback.scene = Id(scene);
        return show;
    };
    Check(at(12), {{PlayNextOrLast, R"("cmd": "playNext")", kPlay13},
                   {PlayNextOrLast, R"("param": 1)", kPlay13},
                   {PlayNextOrLast, R"("cmd": "playLast")", kPlay11},
                   {PlayNextOrLast, R"("param": 0)", kPlay11}});
    Check(at(13), {{PlayNextOrLast, R"("cmd": "playNext")", kRange}});
    Check(at(11), {{PlayNextOrLast, R"("cmd": "playLast")", kRange}});
    Check(at(14), {{PlayNextOrLast, R"("cmd": "playLast")", kNoClip}});
}

TEST(ShowChangesTest, ThePlaybackIsControlledInEveryState)
{
    const std::string stopped = "stopped, remotes get stopped, at 0 s";
    const std::string start = ", start 10/12";
    const std::string end = ", end 10/12";
    const std::string playing = "playing, remotes get playing";
    EXPECT_TRUE(StateOf(Stage(SPlayback::Playing)).contains("at 3607 s"));
    Check(Stage(SPlayback::Playing), {{PlayControl, R"("cmd": "continueAll")", ""},
                                      {PlayControl, R"("cmd": "pauseAll")", "paused, remotes get paused"},
                                      {PlayControl, R"("cmd": "stop")", stopped + end},
                                      {PlayControl, R"("cmd": "restartAll")", "at 0 s"},
                                      {PlayControl, R"("param": 3)", "at 0 s"}});
    Check(Stage(), {{PlayControl, R"("cmd": "continueAll")", playing},
                    {PlayControl, R"("param": 0)", playing},
                    {PlayControl, R"("param": 1)", ""},
                    {PlayControl, R"("param": 2, "cmd": "pauseAll")", stopped + end},
                    {PlayControl, R"("cmd": "restartAll")", playing + ", at 0 s"}});
    SShow stage = Stage();
    stage.playback.Enter(SPlayback::Stopped, SPlayback::Clock::now());
    Check(stage, {{PlayControl, R"("cmd": "continueAll")", playing + start},
                  {PlayControl, R"("cmd": "restartAll")", playing + start},
                  {PlayControl, R"("cmd": "pauseAll")", ""},
                  {PlayControl, R"("cmd": "stop")", ""}});
}

TEST(ShowChangesTest, AProjectIsOpenedByItsPositionIdOrName)
{
    Check(Stage(), {{SwitchProject, R"("param": 0)", kOpen + "current 0/0, unused 5, unused 6, unused 7"},
                    {SwitchProject, R"("param": 1)", kOpen2},
                    {SwitchProject, R"("param": 2)", kOpen3},
                    {SwitchProject, R"("param": 3)", kRange},
                    {SwitchProject, R"("param": -1)", kRange},
                    {SwitchProject, R"("projectId": "#2")", kOpen2},
                    {SwitchProject, R"("projectName": "Project 2")", kOpen2},
                    {SwitchProject, R"("projectName": "Project 1", "projectId": "#2")", kOpen2}});
    Check(Stage(SPlayback::Stopped),
          {{SwitchProject, R"("param": 1)", "project at 1, scene 50/51, at 0 s, current 50/51, unused 5, unused 6"}});
}

TEST(ShowChangesTest, PresentationsOfTheCurrentSceneTurnPagesWithinTheirDocument)
{
    Check(Stage(), {{TurnPages, R"("cmd": "turnAllPPT")", "10/121: page 2"},
                    {TurnPages, R"("param": 1)", "10/121: page 2"},
                    {TurnPages, R"("param": -1)", "10/121: page 0, 10/122: page 0"},
                    {TurnPages, R"("param": 2)", kRange},
                    {TurnPages, R"("param": -2)", kRange},
                    {TurnPages, R"("param": 2147483647)", kRange},
                    {TurnPages, R"("param": -2147483647)", kRange},
                    {TurnPages, R"("param": 0)", ""}});
    SShow without = Stage();
    without.playback.scene = Id(11);
    Check(without, {{TurnPages, R"("param": 1)", kNoPresentation}});
}

TEST(ShowChangesTest, OneMediumOfTheCurrentSceneIsMuted)
{
    Check(Stage(), {{MuteMedia, R"("mediaId": "#123", "cmd": "muteWnd")", "10/123: page 0 muted"},
                    {MuteMedia, R"("mediaId": "#121", "param": 1)", "10/121: page 1 muted"},
                    {MuteMedia, R"("mediaId": "#121", "cmd": "unmuteWnd")", ""},
                    {MuteMedia, R"("mediaId": "#111", "cmd": "muteWnd")", kNoClip}});
}

TEST(ShowChangesTest, WithoutAProjectOrCurrentSceneACommandIsRefused)
{
    std::vector<SCase> cases = {{ScenePlay, R"("sceneId": "#11")", kFail},
                                {SwitchSceneGroup, R"("sceneGrpCol": 1)", kFail},
                                {SwitchHdr, R"("param": 1)", kFail},
                                {SwitchHdrKind, R"("param": 1)", kHdrOff},
                                {SwitchProject, R"("param": 0)", kRange}};
    const std::vector<SCase> ofTheScene = {{PlayNextOrLast, R"("param": 1)", kNoClip},
                                           {PlayControl, R"("param": 0)", kNoClip},
                                           {TurnPages, R"("param": 1)", kNoPresentation},
                                           {MuteMedia, R"("param": 1, "mediaId": "#123")", kNoClip}};
    Check({}, cases);
    Check({}, ofTheScene);

    SShow show = Stage();
    show.playback.group = show.playback.scene = QUuid();
    Check(show, ofTheScene);
    Check(show, {{ScenePlay, R"("sceneCol": 1)", kNoClip}});
    show.openProject = 1;
    Check(show, {{SwitchHdrKind, R"("param": 1)", kHdrOff}});
    EXPECT_EQ(FindShowChange(StageSnapshot), nullptr);
}

TEST(ShowChangesTest, AnUploadedFileAddsOrReloadsTheResourcesOfTheOpenProject)
{
    const auto make = [](int id, const char* path, int type = ResourceType::Picture) {
        SResourceProperties resource;
        resource.id = Id(id);
        resource.path = path;
        resource.type = type;
        resource.resolution = QSize(4, 3);
        resource.demuxered = true;
        return resource;
    };
    const SShow empty = [] {
        SShow show;
        show.projects = {std::make_shared<const SProject>(MakeProject(1)),
                         std::make_shared<const SProject>(MakeProject(2))};
        return show;
    }();
    SShow show = empty;
    std::vector<SShowEvent> events;

    TakeFile(show, make(5, "/a.png"), events);
    TakeFile(show, make(6, "/b.mp4", ResourceType::Video), events);
    EXPECT_EQ(Differences(empty, show, events), "resource 5 found 4x3, resource 6 found 4x3");
    EXPECT_EQ(show.projects[0]->ResourceById(Id(6))->base.GetPath(), "/b.mp4");

    const SShow unready = show;
    Demux(show, Id(2), "/a.png", {8, 6}, events);
    EXPECT_EQ(Differences(unready, show, events), "");
    Demux(show, Id(1), "/a.png", {8, 6}, events);
    Demux(show, Id(1), "/b.mp4", {}, events);
    EXPECT_EQ(Differences(unready, show, events),
              "resource 5 found ready 8x6, resource 6 found ready 4x3, ready 5, ready 6");

    const SShow ready = show;
    events.clear();
    TakeFile(show, make(9, "/a.png"), events);
    EXPECT_EQ(Differences(ready, show, events), "resource 5 found 8x6, unready 5");
    events.clear();
    TakeFile(show, make(9, "/a.png"), events);
    Demux(show, Id(1), "/a.png", {}, events);
    EXPECT_EQ(Differences(ready, show, events), "resource 5 found ready 0x0, ready 5");
}
