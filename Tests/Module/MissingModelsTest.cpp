#include "Support/SenderTest.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"

#include <QJsonArray>
#include <QJsonDocument>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Loads a show with a medium of each type that has a special description.
void LoadManyMedia()
{
    const std::vector<SResource> resources = {
        MakeResource(10, ResourceType::Picture), MakeResource(11, ResourceType::Group),
        MakeResource(12, ResourceType::Presentation), MakeResource(13, ResourceType::Text)};
    std::vector<CMediaNode> media;
    media.reserve(resources.size());
    for (const SResource& resource : resources)
        media.push_back(MakeMedium(20 + static_cast<int>(media.size()), resource));
    LoadShow({MakeProject(1, {MakeGroup(2, {MakeScene(3, media)})}, resources)}, {MakeScreen(4)});
    // Only a project with a path is exported.
    HostModels::Show().Change([](SShow& show) { show.file = "/shows/demo.zxc"; });
}

/// Returns a request whose body has all keys that handlers read.
SOperation Request(int code)
{
    QJsonObject body = Json(R"({"mediaId": "#20", "sceneGroupId": "#2", "sceneId": "#3", "id": "x", "name": "x",
                                "username": "operator", "cmd": "x", "remoteIp": "10.0.0.9", "remotePort": 4000})");
    body["resourceId"] = IdText(code == Command::TextResource ? 13 : 11);
    body["cmdType"] = code;
    return MakeRequest(code, body, Source::Every);
}

using MissingModelsTest = ControllerTest;
using MissingModelsRepliesTest = SenderTest;

} // namespace

TEST_F(MissingModelsTest, EveryMessageIsHandledWithoutAMissingModel)
{
    LoadManyMedia();
    for (int missing = 0; missing < static_cast<int>(Model::Count); ++missing) {
        SCOPED_TRACE(missing);
        const CWithout without(static_cast<Model>(missing));
        CExternalController& controller = Start();
        controller.AppServerSupport(true);
        const auto channels = RecordingChannels::Callbacks();

        for (const Command::SName& command : Command::kNames) {
            if (command.code != Command::SharedTypeThumbnails ||
                static_cast<Model>(missing) == Model::Resources) // slow
                controller.Write(Request(command.code));
        }
        EXPECT_THAT(RecordingChannels::Outgoing(),
                    testing::Contains(SentCode(Command::ReplyTo(Command::LoginIdentity))));
        QJsonObject command = Request(Command::ScenePlay).jsonBody;
        channels.appUdp(RawPacket("App Server request Zentravox Controller"));
        channels.appTcp(AppPacket(Command::Login, Request(Command::Login).jsonBody));
        channels.fp(AppPacket(Command::ScenePlay));
        channels.central(command);
        channels.cloud(command);
        channels.appTcp(CloseNotice({}));
        controller.CloudControlConnect();
        controller.CreateExControlDev(Id(5));
        controller.UpdateExControlDev(Id(5));
        controller.DelExControlDev(Id(5));
        QMetaObject::invokeMethod(&controller, "slotSceneEndExControlCmd", Q_ARG(QUuid, Id(2)), Q_ARG(QUuid, Id(3)));

        RecordingChannels::ForgetCalls();
        channels.appTcp(AppPacket(Command::Heartbeat));
        EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(SentCode(Command::ReplyTo(Command::Heartbeat))));
        UninitExternalController();
    }
}

TEST_F(MissingModelsRepliesTest, SystemInformationHasEmptyValuesForAMissingModel)
{
    struct {
        Model missing;
        const char* reply;
    } const cases[] = {
        {Model::Performance, R"({"system": "", "cpu": [""], "gpu": [""], "hardDisk": [], "memory": [],
                                 "gpuDriveVersion": "", "office": ""})"},
        {Model::Project, R"({"projectPathLists": [], "curProject": ""})"},
        {Model::Screens, R"({"screens": []})"},
        {Model::DeviceResource, R"({"directX": ""})"},
        {Model::Scenes, R"({"luminance": 0, "volume": 0, "curChapterId": ""})"},
        {Model::Player, R"({"curChapterId": ""})"},
    };
    LoadManyMedia();

    for (const auto& [missing, reply] : cases) {
        const CWithout without(missing);
        const auto calls = Ask<CProjectDataMsgSender>(Command::SystemInformation, {}, Source::CloudControl);
        ASSERT_EQ(calls.size(), 1u);
        const QJsonObject expected = Json(reply);
        const QJsonObject sent = QJsonDocument::fromJson(QByteArray::fromStdString(calls[0].text)).object();
        EXPECT_EQ(Of(sent, expected.keys()), expected);
    }
}

TEST_F(MissingModelsRepliesTest, RepliesThatNeedAMissingModelAreEmptyOrNotSent)
{
    const QJsonObject body = Json(R"({"mediaId": "#20"})");
    LoadManyMedia();
    {
        const CWithout without(Model::Users);
        EXPECT_THAT(Ask<CProjectDataMsgSender>(Command::FPPairingCode, {}, Source::FP),
                    Answers(To::FP, Command::FPPairingCode, {{"AppQRCode", ""}}));
        const auto scenes = Ask<CSceneMsgSender>(Command::SceneManagerData, {}, Source::App);
        ASSERT_EQ(scenes.size(), 1u);
        EXPECT_EQ(BodyOf(scenes[0])["sceneMgrData"].toObject()["currentSceneGroupId"], IdText(2));
    }
    {
        const CWithout without(Model::Scenes);
        const QJsonObject noScenes = Json(R"({"sceneMgrData": {"result": 1, "currentSceneGroupId": "#0",
            "currentSceneId": "#0", "count": 0, "sceneGroupDataList": {}}})");
        EXPECT_THAT(Ask<CSceneMsgSender>(Command::SceneManagerData, {}, Source::App),
                    Answers(To::App, Command::SceneManagerData, noScenes));
    }
    const CWithout without(Model::Render);
    EXPECT_THAT(Ask<CStageMsgSender>(Command::MediaThumbnail, body, Source::App), IsEmpty());
    EXPECT_THAT(Ask<CStageMsgSender>(Command::StagePreviewPush, body, Source::CloudControl), IsEmpty());
    const auto list = Ask<CStageMsgSender>(Command::MediaList, {}, Source::App);
    const auto medium = Ask<CStageMsgSender>(Command::MediaData, body, Source::App);
    ASSERT_EQ(list.size(), 1u);
    ASSERT_EQ(medium.size(), 1u);
    EXPECT_EQ(BodyOf(list[0])["mediaList"].toObject()["3"].toObject()["pushStreamUrl"], "");
    EXPECT_EQ(BodyOf(medium[0])["mediaData"].toObject()["pushStreamUrl"], "");
}
