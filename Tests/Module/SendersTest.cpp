#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"

#include <QHostInfo>
#include <QJsonDocument>

#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// For each sender a code without a handler.
constexpr int kProjectDataUnknown = 0x00c;
constexpr int kResourceUnknown = 0x406;
constexpr int kSceneUnknown = 0x3fe;
constexpr int kStageUnknown = 0x12c;

/// The machine's name for Qt; empty for the real one.
std::string s_machineName;

} // namespace

/// Replaces the function of the C library, which Qt calls for the machine's name.
extern "C" int uname(utsname* answer) noexcept
{
    const long result = syscall(SYS_uname, answer);
    if (result == 0 && !s_machineName.empty())
        answer->nodename[s_machineName.copy(answer->nodename, sizeof(answer->nodename) - 1)] = '\0';
    return static_cast<int>(result);
}

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

    for (const auto& [sources, projectData, resource, scene, stage] : cases) {
        SCOPED_TRACE(testing::Message() << "sources 0x" << std::hex << sources);
        EXPECT_EQ(RecipientsOf(Ask<CProjectDataMsgSender>(kProjectDataUnknown, body, sources)), projectData);
        EXPECT_EQ(RecipientsOf(Ask<CResourceMsgSender>(kResourceUnknown, body, sources)), resource);
        EXPECT_EQ(RecipientsOf(Ask<CSceneMsgSender>(kSceneUnknown, body, sources)), scene);
        EXPECT_EQ(RecipientsOf(Ask<CStageMsgSender>(kStageUnknown, body, sources)), stage);
    }
    EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, Source::App), Answers(To::App, kSceneUnknown, body));
    EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, Source::FP), Answers(To::FP, kSceneUnknown, body));
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
    EXPECT_EQ(GetHostName(), QHostInfo::localHostName()) << "the machine's name until another one is set";
    const auto ask = [&](int code, const QJsonObject& body, int sources = Source::App) {
        return Ask<CProjectDataMsgSender>(code, body, sources);
    };
    const auto hasName = [](const QString& name) {
        return Sent(Command::ReplyTo(Command::HostNameAndVersion),
                    {{"result", 1}, {"name", name}, {"version", CGlobalModel::GetInstance()->GetAppFormatName()}});
    };

    ask(Command::SetHostName, {{"name", "Stage left"}});
    EXPECT_EQ(HostModels::SoftwareSetting().LoadHostName(), "Stage left");
    for (const QJsonValue& noName : {QJsonValue(""), QJsonValue(7), QJsonValue()})
        EXPECT_THAT(ask(Command::SetHostName, {{"name", noName}}), ElementsAre(hasName("Stage left")));
    for (const int sources :
         {kNoSource, int{Source::App}, int{Source::FP}, int{Source::CentralControl}, int{Source::Every}})
        EXPECT_THAT(ask(Command::HostNameAndVersion, {}, sources), ElementsAre(hasName("Stage left"))) << sources;
}

TEST_F(SendersTest, ANewNameOfTheMachineIsUsedImmediately)
{
    for (const char* name : {"stage-left", "stage-right"}) {
        s_machineName = name;
        EXPECT_EQ(GetHostName(), name);
    }
    s_machineName.clear();
}
