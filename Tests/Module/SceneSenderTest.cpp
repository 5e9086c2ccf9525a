#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"

#include <QSet>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

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

const std::string kFirstGroup = R"({"count": 1, "sceneGroupId": "#10", "sceneGroupName": "Group 10",
    "0": {"currentIndex": 0, "fadeInTime": 500, "fadeOutTime": 1500, "sceneId": "#11", "sceneName": "Scene 11",
          "mediaIdList": ["{#6}", "{#5}"]}})";
const std::string kSecondGroup = R"({"count": 2, "sceneGroupId": "#20", "sceneGroupName": "Group 20",
    "0": {"currentIndex": 0, "fadeInTime": 500, "fadeOutTime": 1500, "sceneId": "#21", "sceneName": "Scene 21",
          "mediaIdList": []},
    "1": {"currentIndex": 0, "fadeInTime": 500, "fadeOutTime": 1500, "sceneId": "#22", "sceneName": "Scene 22",
          "mediaIdList": []}})";

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

TEST_F(SceneSenderTest, AllGroupsAreSentAndTheCurrentOneOnlyToAppsOfOneVersion)
{
    LoadTwoGroups();
    Play(20, 21);
    const auto reply = [](int currentGroup) {
        return Json(R"({"sceneMgrData": {"result": 1, "currentSceneGroupId": "#)" + std::to_string(currentGroup) +
                    R"(", "currentSceneId": "#21", "count": 2, "sceneGroupDataList": {"0": )" + kFirstGroup +
                    R"(, "1": )" + kSecondGroup + "}}}");
    };
    const auto answers = [&](int group) { return Sent(0x10000300, reply(group)); };

    for (const char* version : {"", "2.0.0 ", "2.1.0"}) {
        HostModels::UserModel().SetCurLoginAppVersion(version);
        EXPECT_THAT(Ask(0x300, {}, Source::App), ElementsAre(answers(10)));
        EXPECT_THAT(Ask(0x300, {}, Source::Every), ElementsAre(answers(10), SentToFP(0x300, reply(20))));
        EXPECT_THAT(Ask(0x300, {}, Source::CentralControl | Source::CloudControl), IsEmpty());
    }
    HostModels::UserModel().SetCurLoginAppVersion("2.0.0");
    EXPECT_THAT(Ask(0x300, {}, Source::App | Source::CentralControl), ElementsAre(answers(20)));
}

TEST_F(SceneSenderTest, TheMainGroupIsAddedToTheRequestsBody)
{
    LoadTwoGroups();
    const QJsonObject body = {{"tag", "x"}, {"sceneGroupData", "old"}};
    const QJsonObject reply = Json(R"({"tag": "x", "sceneGroupData": )" + kSecondGroup + '}');

    for (const unsigned int code : {0x302U, 0x304U})
        EXPECT_THAT(Ask(static_cast<int>(code), body, Source::App | Source::FP | Source::CentralControl),
                    ElementsAre(Sent(0x10000000U | code, reply), SentToFP(0x302, reply)));
    EXPECT_THAT(Ask(0x302, body, Source::CentralControl | Source::CloudControl), IsEmpty());
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

TEST_F(SceneSenderTest, AThumbnailShowsItsScene)
{
    LoadTwoGroups();

    const auto calls = Ask(0x308, Json(R"({"sceneGroupId": "#10", "sceneId": "{#11}"})"), Source::FP);

    const QImage stage = CSceneMgrModel::GetInstance()->GetSceneImage(Id(10), Id(11)).toImage();
    EXPECT_LT(Difference(QImage::fromData(PictureIn(calls, 0x10000308, Id(11)), "JPG"), stage.scaled(320, 180)), 2);
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
    std::atomic<bool> enough{false};
    std::thread host([&] {
        for (std::size_t turn = 0; !enough; ++turn)
            open(turn % 2);
    });

    QSet<QString> projects;
    for (int asked = 0; (asked < 100 || projects.size() < 2) && !HasFailure(); ++asked) {
        const QJsonObject data = BodyOf(Ask(Command::SceneManagerData).at(0))["sceneMgrData"].toObject();
        const QJsonObject list = data["sceneGroupDataList"].toObject();
        QSet<QString> hundreds = {data["currentSceneGroupId"].toString().right(3).left(1)};
        for (const QJsonValue& group : list) {
            hundreds += group["sceneGroupName"].toString().right(3).left(1);
            EXPECT_EQ(group["0"]["sceneName"], hundreds.contains("1") ? "Scene 1" : "Scene 3");
        }
        EXPECT_EQ(list.size(), 20);
        EXPECT_EQ(hundreds.size(), 1);
        projects += hundreds;
    }

    enough = true;
    host.join();
}
