#include "Support/SenderTest.h"

#include "ExternalController/Common/Base64.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"
#include "ExternalController/MsgSender/ScreenMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QJsonDocument>
#include <QNetworkInterface>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

/// A code of each sender's own that it has no handler for.
constexpr int kProjectDataUnknown = 0x00c;
constexpr int kResourceUnknown = 0x406;
constexpr int kSceneUnknown = 0x3fe;
constexpr int kStageUnknown = 0x12c;

constexpr int kEverySource = 0x1111;

template <class Sender>
std::unique_ptr<CMsgSenderBase> Make(CAPPServerManager* app, IFPClientManager* fp, CCentralControllerManager* central,
                                     ICloudControlManager* cloud)
{
    return std::make_unique<Sender>(app, fp, central, cloud);
}

} // namespace

using SendersTest = SenderTest;

TEST_F(SendersTest, AnUnknownRequestComesBackToThoseWhoAsked)
{
    // A: the app, F: the FP client, C: central control; the senders differ in whom they answer at once.
    struct {
        int sources;
        std::string projectData, resource, scene, stage;
    } const cases[] = {
        {0x0000, "", "", "", ""},        {0x0001, "A", "A", "A", "A"},  {0x0010, "F", "F", "F", "F"},
        {0x0100, "", "", "C", "C"},      {0x1000, "", "", "", ""},      {0x0011, "AF", "A", "A", "AF"},
        {0x0101, "A", "A", "A", "AC"},   {0x1001, "A", "A", "A", "A"},  {0x0110, "F", "F", "F", "FC"},
        {0x1010, "F", "F", "F", "F"},    {0x1100, "", "", "C", "C"},    {0x0111, "AF", "A", "A", "AFC"},
        {0x1011, "AF", "A", "A", "AF"},  {0x1101, "A", "A", "A", "AC"}, {0x1110, "F", "F", "F", "FC"},
        {0x1111, "AF", "A", "A", "AFC"},
    };
    const QJsonObject body = {{"errorMsg", "OK"}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"other", "text"}};
    const auto expected = [&](int code, const std::string& answered) {
        std::vector<CallMatcher> calls;
        for (const char whom : answered) {
            calls.push_back(whom == 'A'   ? Sent(static_cast<unsigned int>(code) | 0x10000000, body)
                            : whom == 'F' ? SentToFP(static_cast<unsigned int>(code), body)
                                          : SentToCentral("OK", "10.0.0.9", 4000));
        }
        return ElementsAreArray(calls);
    };

    for (const auto& [sources, projectData, resource, scene, stage] : cases) {
        SCOPED_TRACE(testing::Message() << "sources 0x" << std::hex << sources);
        EXPECT_THAT(Ask<CProjectDataMsgSender>(kProjectDataUnknown, body, sources),
                    expected(kProjectDataUnknown, projectData));
        EXPECT_THAT(Ask<CResourceMsgSender>(kResourceUnknown, body, sources), expected(kResourceUnknown, resource));
        EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, sources), expected(kSceneUnknown, scene));
        EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, sources), expected(kStageUnknown, stage));
    }
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
        {R"({"remoteIp": "10.0.0.9", "remotePort": "4000", "errorMsg": "x"})", "x", "x", 0},
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
}

TEST_F(SendersTest, WithoutAnAddressCentralControlGetsNoEcho)
{
    for (const char* text : {R"({"remotePort": 4000, "errorMsg": "x", "respon": {}})",
                             R"({"remoteIp": "", "respon": {}})", R"({"remoteIp": 7, "errorMsg": "x"})"}) {
        const QJsonObject body = QJsonDocument::fromJson(text).object();
        EXPECT_THAT(Ask<CSceneMsgSender>(kSceneUnknown, body, Source::CentralControl), IsEmpty()) << text;
        EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, Source::CentralControl), IsEmpty()) << text;
    }
}

TEST_F(SendersTest, TheScreenSenderTakesEverythingAndStaysSilent)
{
    const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"errorMsg", "x"}};

    for (const int code : {-1, 0x000, 0x005, 0x101, 0x600})
        EXPECT_THAT(Ask<CScreenMsgSender>(code, body, kEverySource), IsEmpty()) << code;
}

TEST_F(SendersTest, AChannelThatIsMissingIsPassedOver)
{
    const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"errorMsg", "x"}, {"name", "Stage"}};
    struct {
        decltype(&Make<CStageMsgSender>) make;
        std::vector<int> codes;
    } const cases[] = {
        {&Make<CProjectDataMsgSender>, {kProjectDataUnknown, Command::SetHostName}},
        {&Make<CResourceMsgSender>, {kResourceUnknown}},
        {&Make<CSceneMsgSender>, {kSceneUnknown}},
        {&Make<CStageMsgSender>, {kStageUnknown}},
    };

    for (const auto& [make, codes] : cases) {
        const auto sender = make(nullptr, nullptr, nullptr, nullptr);
        for (const int code : codes) {
            // One source at a time, so that each missing channel is tried.
            for (const int sources : {0x0001, 0x0010, 0x0100, 0x1000})
                EXPECT_TRUE(sender->HandleMsg({code & 0xf00, code, body, sources})) << code;
        }
    }
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(SendersTest, AZeroCharacterArrivesWithAllThatFollows)
{
    const QString text = QString::fromUtf8("before\0after", 12);
    const QJsonObject body = {{"text", text}};

    EXPECT_THAT(Ask<CStageMsgSender>(kStageUnknown, body, 0x0011),
                ElementsAre(Sent(0x1000012c, body), SentToFP(0x12c, body)));
}

TEST_F(SendersTest, BytesWithZerosGoOutWholeOnTheChannelThatIsNamed)
{
    const QByteArray bytes("\x89PNG\0\0\r\n", 8);
    CStageMsgSender sender(&m_app, &m_fp, &m_central, &m_cloud);

    sender.SendToApp(0x10000118, bytes, AppServer::Bulk);
    sender.SendToFP(0x118, bytes);
    sender.SendToCentralControl(bytes.toStdString(), "10.0.0.9", 4000);

    const std::vector<SChannelCall> sent = RecordingChannels::Calls();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].package->data, CAppDataPack(0x10000118, bytes).GetData().toStdString());
    EXPECT_EQ(sent[0].number, 1);
    EXPECT_EQ(sent[1].package->data, CAppDataPack(0x118, bytes).GetData().toStdString());
    EXPECT_NE(sent[0].package, sent[1].package);
    EXPECT_THAT(sent[2], SentToCentral(bytes.toStdString(), "10.0.0.9", 4000));
}

// The host's name.

class HostNameTest : public SendersTest {
protected:
    HostNameTest() { SetName("Stage left"); }

    static void SetName(const QString& name)
    {
        SSettings settings;
        settings.hostName = name;
        HostModels::SoftwareSetting().Load(settings, {});
    }

    static CallMatcher TellsName(const QString& name)
    {
        return Sent(0x10000005,
                    {{"result", 1}, {"name", name}, {"version", CGlobalModel::GetInstance()->GetAppFormatName()}});
    }
};

TEST_F(HostNameTest, TheAppIsToldNameAndVersionWhoeverAsks)
{
    for (const int sources : {0x0000, 0x0001, 0x0010, 0x0100, 0x1111})
        EXPECT_THAT(Ask<CProjectDataMsgSender>(0x005, {}, sources), ElementsAre(TellsName("Stage left"))) << sources;
}

TEST_F(HostNameTest, AHostWithoutANameHasTheMachines)
{
    SetName({});

    EXPECT_THAT(Ask<CProjectDataMsgSender>(0x005, {}, Source::App), ElementsAre(TellsName(QHostInfo::localHostName())));
}

TEST_F(HostNameTest, ANewNameIsKeptConfirmedAndTold)
{
    for (const QString& name : {QStringLiteral("Stage right"), QStringLiteral("Bühne ☃ 舞台"), QStringLiteral(" ")}) {
        EXPECT_THAT(Ask<CProjectDataMsgSender>(0x004, {{"name", name}}, Source::App),
                    ElementsAre(Sent(0x10000004, {{"result", 1}}), TellsName(name)));
        EXPECT_EQ(HostModels::SoftwareSetting().LoadHostName(), name);
    }
}

TEST_F(HostNameTest, WithoutANewNameTheOldOneIsTold)
{
    const QJsonObject bodies[] = {{}, {{"name", ""}}, {{"name", 7}}, {{"name", QJsonValue::Null}}, {{"Name", "x"}}};

    for (const QJsonObject& body : bodies)
        EXPECT_THAT(Ask<CProjectDataMsgSender>(0x004, body, Source::App), ElementsAre(TellsName("Stage left")));
    EXPECT_EQ(HostModels::SoftwareSetting().LoadHostName(), "Stage left");
}

// The helpers.

TEST(Base64EncodeTest, TextIsPaddedToFourCharacters)
{
    EXPECT_EQ(Base64Encode("", 0), "");
    EXPECT_EQ(Base64Encode("f", 1), "Zg==");
    EXPECT_EQ(Base64Encode("fo", 2), "Zm8=");
    EXPECT_EQ(Base64Encode("foo", 3), "Zm9v");
    EXPECT_EQ(Base64Encode("\0\xff\xfe\0", 4), "AP/+AA==");
}

TEST(GetLocalIPv4Test, ItIsTheFirstAddressOfTheMachineBeyondTheLoopbacks)
{
    const QList<QHostAddress> all = QNetworkInterface::allAddresses();
    const auto first = std::find_if(all.begin(), all.end(), [](const QHostAddress& address) {
        return address.protocol() == QAbstractSocket::IPv4Protocol && address.toString() != "127.0.0.1";
    });

    EXPECT_EQ(GetLocalIPv4(), first == all.end() ? QString("127.0.0.1") : first->toString());
}
