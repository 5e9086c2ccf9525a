#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"

#include <QJsonDocument>

#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Codes without a handler.
constexpr int kSceneUnknown = 0x3fe;
constexpr int kStageUnknown = 0x12c;

} // namespace

using SendersTest = SenderTest;

TEST_F(SendersTest, AnUnknownRequestIsSentBackToItsSources)
{
    using To::App, To::AppAndFP, To::CentralControl, To::FP, To::None;
    const Recipients appAndCentralControl = {Recipient::App, Recipient::CentralControl};
    const Recipients fpAndCentralControl = {Recipient::FP, Recipient::CentralControl};
    const Recipients allThree = {Recipient::App, Recipient::FP, Recipient::CentralControl};
    // The senders differ in how many recipients they reply to.
    struct {
        int sources;
        Recipients projectData, resource, scene, stage;
    } const cases[] = {
        {kNoSource, None, None, None, None},
        {Source::App, App, App, App, App},
        {Source::FP, FP, FP, FP, FP},
        {Source::CentralControl, None, None, CentralControl, CentralControl},
        {Source::CloudControl, None, None, None, None},
        {Source::App | Source::FP, AppAndFP, App, App, AppAndFP},
        {Source::App | Source::CentralControl, App, App, App, appAndCentralControl},
        {Source::FP | Source::CentralControl, FP, FP, FP, fpAndCentralControl},
        {Source::Every, AppAndFP, App, App, allThree},
    };
    const QJsonObject body = {{"errorMsg", "OK"}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"other", "text"}};
    const auto echoes = [&](const Recipients& recipients, int code) {
        std::vector<CallMatcher> calls;
        for (const Recipient recipient : recipients) {
            calls.push_back(recipient == Recipient::App  ? Sent(Command::ReplyTo(code), body)
                            : recipient == Recipient::FP ? SentToFP(static_cast<unsigned int>(code), body)
                                                         : SentToCentral("OK", "10.0.0.9", 4000));
        }
        return testing::ElementsAreArray(calls);
    };

    for (const auto& [sources, projectData, resource, scene, stage] : cases) {
        SCOPED_TRACE(testing::Message() << "sources 0x" << std::hex << sources);
        EXPECT_THAT(Ask<CProjectDataMsgSender>(0x00c, body, sources), echoes(projectData, 0x00c));
        EXPECT_THAT(Ask<CResourceMsgSender>(0x406, body, sources), echoes(resource, 0x406));
        EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, sources), echoes(scene, kSceneUnknown));
        EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, sources), echoes(stage, kStageUnknown));
    }
}

TEST_F(SendersTest, CentralControlReceivesTheReplyTextOfTheBody)
{
    const std::string responText = QJsonDocument(QJsonObject{{"mode", 3}}).toJson().toStdString();
    const std::string emptyText = QJsonDocument(QJsonObject{}).toJson().toStdString();
    struct {
        const char* body;
        std::string fromScene, fromStage;
        int port;
    } const cases[] = {
        {R"({"remoteIp": "10.0.0.9", "remotePort": 4000, "errorMsg": "no scene"})", "no scene", "no scene", 4000},
        {R"({"remoteIp": "10.0.0.9", "remotePort": 4000})", "", "", 4000},
        {R"({"remoteIp": "10.0.0.9", "errorMsg": "Bühne"})", "Bühne", "Bühne", 0},
        {R"({"remoteIp": "10.0.0.9", "remotePort": 69536, "errorMsg": "x"})", "x", "x", 4000},
        {R"({"remoteIp": "10.0.0.9", "remotePort": 1, "errorMsg": 7})", "", "", 1},
        {R"({"remoteIp": "10.0.0.9", "remotePort": 1, "errorMsg": "x", "respon": {"mode": 3}})", "x", responText, 1},
        {R"({"remoteIp": "10.0.0.9", "remotePort": 1, "errorMsg": "x", "respon": "text"})", "x", emptyText, 1},
    };

    for (const auto& [text, fromScene, fromStage, port] : cases) {
        SCOPED_TRACE(text);
        const QJsonObject body = QJsonDocument::fromJson(text).object();
        EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, Source::CentralControl),
                    ElementsAre(SentToCentral(fromScene, "10.0.0.9", port)));
        EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, Source::CentralControl),
                    ElementsAre(SentToCentral(fromStage, "10.0.0.9", port)));
    }
    for (const QJsonValue& noAddress : {QJsonValue(), QJsonValue(""), QJsonValue(7)}) {
        const QJsonObject body = {{"remoteIp", noAddress}, {"remotePort", 4000}, {"respon", QJsonObject()}};
        EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, Source::CentralControl), IsEmpty());
        EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, Source::CentralControl), IsEmpty());
    }
}

TEST_F(SendersTest, AMissingChannelIsIgnored)
{
    const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"errorMsg", "x"}};

    // One source at a time, so that each missing channel is tried.
    for (const int sources : {Source::App, Source::FP, Source::CentralControl, Source::CloudControl}) {
        CStageMsgSender sender(nullptr, nullptr, nullptr, nullptr);
        EXPECT_TRUE(sender.HandleMsg({SenderType::Stage, kStageUnknown, body, sources}));
    }
    CProjectDataMsgSender forCloud(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(forCloud.HandleMsg({SenderType::ProjectData, Command::SystemInformation, {}, Source::CloudControl}));
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(SendersTest, TheHostsNameIsSentForRequestsOfAnySourceAndANewNameIsStored)
{
    const auto ask = [&](int code, const QJsonObject& body, int sources = Source::App) {
        return Ask<CProjectDataMsgSender>(code, body, sources);
    };
    const auto hasName = [](const char* name) {
        return Sent(0x10000005, {{"result", 1}, {"name", name}, {"version", "Zentravox XA 2.0"}});
    };
    EXPECT_THAT(ask(0x005, {}), ElementsAre(hasName("stage-pc"))) << "the machine's name until another one is set";
    Doubles().machineName = "stage-right";
    EXPECT_THAT(ask(0x005, {}), ElementsAre(hasName("stage-right")));

    EXPECT_THAT(ask(0x004, {{"name", "Stage left"}}),
                ElementsAre(Sent(0x10000004, {{"result", 1}}), hasName("Stage left")));
    EXPECT_EQ(HostModels::SoftwareSetting().LoadHostName(), "Stage left");
    for (const QJsonValue& noName : {QJsonValue(""), QJsonValue(7), QJsonValue()})
        EXPECT_THAT(ask(0x004, {{"name", noName}}), ElementsAre(hasName("Stage left")));
    for (const int sources :
         {kNoSource, int{Source::App}, int{Source::FP}, int{Source::CentralControl}, int{Source::Every}})
        EXPECT_THAT(ask(0x005, {}, sources), ElementsAre(hasName("Stage left"))) << sources;
}

TEST_F(SendersTest, ListsOfEveryLengthAreSentCompletely)
{
    for (const int count : {0, 1, 2, 9, 10, 11, 12, 99, 100, 101, 111}) {
        std::vector<SProject> projects;
        QJsonObject reply = {{"result", 1},
                             {"count", count},
                             {"currentProId", IdText(count == 0 ? 0 : 1000)},
                             {"currentProName", count == 0 ? "" : "Project 1000"}};
        for (int i = 0; i < count; ++i) {
            projects.push_back(MakeProject(1000 + i));
            reply[QString::number(i)] =
                QJsonObject{{"projectName", QString("Project %1").arg(1000 + i)}, {"projectId", IdText(1000 + i)}};
        }
        LoadShow(projects);
        EXPECT_THAT(Ask<CStageMsgSender>(0x109, {}, Source::App | Source::FP),
                    Answers({Recipient::App, Recipient::FP}, 0x109, reply))
            << count;
    }
}
