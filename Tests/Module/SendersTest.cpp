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

/// A code of each sender's own that it has no handler for.
constexpr int kProjectDataUnknown = 0x00c;
constexpr int kResourceUnknown = 0x406;
constexpr int kSceneUnknown = 0x3fe;
constexpr int kStageUnknown = 0x12c;

/// Empty: the machine's own.
std::string s_machineName;

} // namespace

/// Takes the place of the C library's: Qt asks it for the machine's name.
extern "C" int uname(utsname* answer) noexcept
{
    const long result = syscall(SYS_uname, answer);
    if (result == 0 && !s_machineName.empty())
        answer->nodename[s_machineName.copy(answer->nodename, sizeof(answer->nodename) - 1)] = '\0';
    return static_cast<int>(result);
}

using SendersTest = SenderTest;

TEST_F(SendersTest, AnUnknownRequestComesBackToThoseWhoAsked)
{
    // A: the app, F: the FP client, C: central control; the senders differ in whom they answer at once.
    struct {
        int sources;
        std::string projectData, resource, scene, stage;
    } const cases[] = {
        {0x0000, "", "", "", ""},      {0x0001, "A", "A", "A", "A"},  {0x0010, "F", "F", "F", "F"},
        {0x0100, "", "", "C", "C"},    {0x1000, "", "", "", ""},      {0x0011, "AF", "A", "A", "AF"},
        {0x0101, "A", "A", "A", "AC"}, {0x0110, "F", "F", "F", "FC"}, {0x1111, "AF", "A", "A", "AFC"},
    };
    const QJsonObject body = {{"errorMsg", "OK"}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"other", "text"}};

    for (const auto& [sources, projectData, resource, scene, stage] : cases) {
        SCOPED_TRACE(testing::Message() << "sources 0x" << std::hex << sources);
        EXPECT_EQ(Whom(Ask<CProjectDataMsgSender>(kProjectDataUnknown, body, sources)), projectData);
        EXPECT_EQ(Whom(Ask<CResourceMsgSender>(kResourceUnknown, body, sources)), resource);
        EXPECT_EQ(Whom(Ask<CSceneMsgSender>(kSceneUnknown, body, sources)), scene);
        EXPECT_EQ(Whom(Ask<CStageMsgSender>(kStageUnknown, body, sources)), stage);
    }
    EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, 0x0001), Answers("A", kSceneUnknown, body));
    EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, 0x0010), Answers("F", kSceneUnknown, body));
}

TEST_F(SendersTest, CentralControlGetsWhatTheBodyHoldsForIt)
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

TEST_F(SendersTest, AChannelThatIsMissingIsPassedOver)
{
    const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"errorMsg", "x"}};

    // One source at a time, so that each missing channel is tried.
    for (const int sources : {0x0001, 0x0010, 0x0100, 0x1000}) {
        CStageMsgSender sender(nullptr, nullptr, nullptr, nullptr);
        EXPECT_TRUE(sender.HandleMsg({SenderType::Stage, kStageUnknown, body, sources}));
    }
    CProjectDataMsgSender forCloud(nullptr, nullptr, nullptr, nullptr);
    EXPECT_TRUE(forCloud.HandleMsg({SenderType::ProjectData, Command::SystemInformation, {}, 0x1000}));
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(SendersTest, TheHostsNameIsToldWhoeverAsksAndKeptWhenItIsNew)
{
    EXPECT_EQ(GetHostName(), QHostInfo::localHostName()) << "until it has one of its own";
    const auto ask = [&](int code, const QJsonObject& body, int sources = Source::App) {
        return Ask<CProjectDataMsgSender>(code, body, sources);
    };
    const auto tells = [](const QString& name) {
        return Sent(0x10000005,
                    {{"result", 1}, {"name", name}, {"version", CGlobalModel::GetInstance()->GetAppFormatName()}});
    };

    ask(0x004, {{"name", "Stage left"}});
    EXPECT_EQ(HostModels::SoftwareSetting().LoadHostName(), "Stage left");
    for (const QJsonValue& noName : {QJsonValue(""), QJsonValue(7), QJsonValue()})
        EXPECT_THAT(ask(0x004, {{"name", noName}}), ElementsAre(tells("Stage left")));
    for (const int sources : {0x0000, 0x0001, 0x0010, 0x0100, 0x1111})
        EXPECT_THAT(ask(0x005, {}, sources), ElementsAre(tells("Stage left"))) << sources;
}

TEST_F(SendersTest, ARenamedMachineIsKnownByItsNewNameAtOnce)
{
    for (const char* name : {"stage-left", "stage-right"}) {
        s_machineName = name;
        EXPECT_EQ(GetHostName(), name);
    }
    s_machineName.clear();
}
