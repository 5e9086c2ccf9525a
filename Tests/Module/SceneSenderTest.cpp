#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"

#include <atomic>
#include <thread>
#include <vector>

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Loads two groups: the first has one scene with two media, the second has two scenes without media.
void LoadTwoGroups()
{
    const SResource clip = MakeResource(5, ResourceType::Video);
    const SResource logo = MakeResource(6, ResourceType::Picture);
    const SScene withMedia = MakeScene(11, {MakeMedium(31, logo), MakeMedium(32, clip)});
    SProject project =
        MakeProject(1, {MakeGroup(10, {withMedia}), MakeGroup(20, {MakeScene(21), MakeScene(22)})}, {clip, logo});
    project.mainGroup = Id(20);
    LoadShow({project});
}

void Play(int group, int scene, SPlayback::State state = SPlayback::Playing, int globalState = 0)
{
    HostModels::Show().Change([&](SShow& show) {
        show.playback.group = Id(group);
        show.playback.scene = Id(scene);
        show.playback.state = state;
        show.playback.globalState = globalState;
    });
}

} // namespace

using SceneSenderTest = SenderTestOf<CSceneMsgSender>;

TEST_F(SceneSenderTest, OnlyAppsOfOneVersionReceiveTheCurrentGroup)
{
    LoadTwoGroups();
    Play(20, 21);
    const auto currentGroups = [&](int sources) {
        QStringList groups;
        for (const SChannelCall& call : Ask(Command::SceneManagerData, {}, sources))
            groups << BodyOf(call)["sceneMgrData"].toObject()["currentSceneGroupId"].toString();
        return groups;
    };

    for (const char* version : {"", "2.0.0 ", "2.1.0"}) {
        HostModels::UserModel().SetCurLoginAppVersion(version);
        EXPECT_EQ(currentGroups(Source::App), QStringList(IdText(10)));
        EXPECT_EQ(currentGroups(Source::Every), (QStringList{IdText(10), IdText(20)})) << "the app and the FP client";
        EXPECT_EQ(currentGroups(Source::CentralControl | Source::CloudControl), QStringList());
    }
    HostModels::UserModel().SetCurLoginAppVersion("2.0.0");
    EXPECT_EQ(currentGroups(Source::App | Source::FP | Source::CentralControl), (QStringList{IdText(20), IdText(20)}));
}

TEST_F(SceneSenderTest, TheMainGroupIsAddedToTheRequestsBody)
{
    LoadTwoGroups();
    const QJsonObject body = {{"tag", "x"}, {"sceneGroupData", "old"}};

    const std::vector<SChannelCall> calls =
        Ask(Command::MainSceneGroupAgain, body, Source::App | Source::FP | Source::CentralControl);

    ASSERT_EQ(calls.size(), 2u);
    const QJsonObject reply = BodyOf(calls[0]);
    EXPECT_EQ(reply["tag"], "x");
    EXPECT_EQ(Of(reply["sceneGroupData"].toObject(), {"count", "sceneGroupId", "sceneGroupName"}),
              Json(R"({"count": 2, "sceneGroupId": "#20", "sceneGroupName": "Group 20"})"));
    EXPECT_THAT(calls, ElementsAre(Sent(Command::ReplyTo(Command::MainSceneGroupAgain), reply),
                                   SentToFP(Command::MainSceneGroup, reply)));
    EXPECT_THAT(Ask(Command::MainSceneGroup, body, Source::CentralControl | Source::CloudControl), IsEmpty());
}

TEST_F(SceneSenderTest, AnEmptyShowHasNoGroups)
{
    Play(20, 21);

    Expect({{Command::SceneManagerData, "", Source::App, To::App,
             R"({"sceneMgrData": {"result": 1, "count": 0, "currentSceneGroupId": "#20",
                                                          "currentSceneId": "#21", "sceneGroupDataList": {}}})"}});
    EXPECT_THAT(Ask(Command::MainSceneGroup, {}), Answers(To::App, Command::MainSceneGroup, Json(R"({"sceneGroupData":
                                    {"count": 0, "sceneGroupId": "#0", "sceneGroupName": ""}})")));
}

TEST_F(SceneSenderTest, AThumbnailRequestWithoutTwoIdsIsRefused)
{
    for (const char* body :
         {"{}", R"({"sceneGroupId": "#10"})", R"({"sceneId": "#11"})", R"({"sceneGroupId": "#10", "sceneId": "x#11"})",
          R"({"sceneGroupId": "#0", "sceneId": "#11"})", R"({"sceneGroupId": 10, "sceneId": "#11"})"}) {
        RecordingChannels::ForgetCalls();
        EXPECT_FALSE(Handle<CSceneMsgSender>({SenderType::Scene, Command::SceneThumbnail, Json(body), Source::App}))
            << body;
        EXPECT_THAT(RecordingChannels::Outgoing(), IsEmpty()) << body;
    }
    // For unknown ids the picture is empty.
    const auto sent = Ask(Command::SceneThumbnail, Json(R"({"sceneGroupId": "#10", "sceneId": "#11"})"));
    EXPECT_THAT(sent, ElementsAre(SentCode(Command::ReplyTo(Command::SceneThumbnail))));
    EXPECT_EQ(PictureIn(sent, Command::ReplyTo(Command::SceneThumbnail), Id(11)), "");
}

TEST_F(SceneSenderTest, ThePlayingChapterIsCountedFromOneWhileTheStagePlays)
{
    const struct {
        int group, scene;
        SPlayback::State state;
        int globalState, groupNumber, sceneNumber;
    } cases[] = {
        {10, 11, SPlayback::Playing, 0, 1, 1},
        {20, 22, SPlayback::Playing, 1, 2, 2},
        {20, 21, SPlayback::Paused, 0, 2, 1},
        {20, 21, SPlayback::Paused, 1, 0, 0},
        {20, 21, SPlayback::Stopped, -1, 0, 0},
        // Not in its group, or in none.
        {10, 21, SPlayback::Playing, 0, 0, 0},
        {30, 21, SPlayback::Playing, 0, 0, 0},
    };
    LoadTwoGroups();

    for (const auto& [group, scene, state, globalState, groupNumber, sceneNumber] : cases) {
        Play(group, scene, state, globalState);
        const QJsonObject chapter = {{"sceneGrpCol", groupNumber}, {"sceneCol", sceneNumber}};
        const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"cmd", QJsonValue::Null}};
        EXPECT_THAT(Ask(Command::PlayingChapter, body, Source::App | Source::FP),
                    Answers(To::CentralControl, Command::PlayingChapter, {{"playingChapter", chapter}}));
        EXPECT_THAT(Ask(Command::PlayingChapter, kRemote, Source::CentralControl), IsEmpty());
    }
}

TEST_F(SceneSenderTest, AReplyHasDataOfOneProjectOnlyWhileTheHostSwitches)
{
    std::vector<SSceneGroup> groups[2];
    for (int group = 0; group < 20; ++group) {
        groups[0].push_back(MakeGroup(100 + group, {MakeScene(1), MakeScene(2)}));
        groups[1].push_back(MakeGroup(200 + group, {MakeScene(3), MakeScene(4)}));
    }
    const auto open = [](std::size_t project) {
        HostModels::Show().Change([&](SShow& show) { show.openProject = project; });
    };
    LoadShow({MakeProject(1, groups[0]), MakeProject(2, groups[1])});
    const QJsonObject first = BodyOf(Ask(Command::SceneManagerData).at(0));
    open(1);
    const QJsonObject second = BodyOf(Ask(Command::SceneManagerData).at(0));
    std::atomic<bool> enough{false};
    std::thread host([&] {
        for (std::size_t turn = 0; !enough; ++turn)
            open(turn % 2);
    });

    bool sawFirst = false;
    for (int asked = 0; (asked < 100 || !sawFirst) && !HasFailure(); ++asked) {
        const auto sent = Ask(Command::SceneManagerData);
        EXPECT_THAT(sent, ElementsAre(AnyOf(Sent(Command::ReplyTo(Command::SceneManagerData), first),
                                            Sent(Command::ReplyTo(Command::SceneManagerData), second))));
        sawFirst = sawFirst || testing::Value(sent, Answers(To::App, Command::SceneManagerData, first));
    }

    enough = true;
    host.join();
}
