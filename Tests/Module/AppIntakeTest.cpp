#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What the app may ask of a sender. Written out: which codes go astray between the channel and the senders is what
/// these tests are to find.
const std::set<unsigned int> kAnsweredBySenders = {
    0x005, 0x006, 0x010,                                    // project data
    0x100, 0x101, 0x107, 0x109, 0x112, 0x118, 0x119, 0x121, // stage
    0x200,                                                  // stage
    0x300, 0x308,                                           // scenes
    0x400, 0x403, 0x404, 0x405, 0x416, 0x417, 0x418,        // resources
};
const std::set<unsigned int> kHandledInPlace = {0x001, 0x003, 0x007, 0x011};

std::vector<unsigned int> CodesOfInterest()
{
    std::vector<unsigned int> codes;
    for (unsigned int code = 0; code <= 0x510; ++code)
        codes.push_back(code);
    for (const unsigned int odd : {0x600u, 0xfffu, 0x1005u, 0x10000001u, 0x10000005u, 0x80000005u, 0x7fffffffu, ~0u})
        codes.push_back(odd);
    return codes;
}

std::string NestedObjects(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += R"({"a":)";
    return text + '1' + std::string(static_cast<std::size_t>(depth), '}');
}

std::string Envelope(unsigned int code, const std::string& body)
{
    return CAppDataPack(code, QByteArray::fromStdString(body)).GetData().toStdString();
}

} // namespace

class AppIntakeTest : public ControllerTest {
protected:
    AppIntakeTest() { Start(); }

    static void FromApp(unsigned int code, const QJsonObject& body = {}, const SPeer& peer = {})
    {
        RecordingChannels::App().tcp(AppPacket(code, body, peer));
    }
};

TEST_F(AppIntakeTest, WhatNoSenderAnswersIsTheHostsToCarryOut)
{
    const QJsonObject body = {{"value", 7}};

    for (const unsigned int code : CodesOfInterest()) {
        if (kAnsweredBySenders.count(code) || kHandledInPlace.count(code))
            continue;
        RecordingChannels::ForgetCalls();
        ForgetReports();

        FromApp(code, body);

        const SResultData expected = {static_cast<int>(code & 0xf00), static_cast<int>(code), true, body, 1};
        EXPECT_THAT(Reports(), ElementsAre(Report(expected))) << std::hex << code;
        EXPECT_THAT(RecordingChannels::Calls(), IsEmpty()) << std::hex << code;
    }
}

TEST_F(AppIntakeTest, WhatASenderAnswersTheHostIsNotTold)
{
    const SResource clip = MakeResource(5, ResourceType::Video);
    LoadStage({clip}, {MakeMedium(31, clip)});
    const QJsonObject body = Json(R"({"id": "an id", "mediaId": "#31", "sceneGroupId": "#2", "sceneId": "#3",
                                      "resourceId": "#5"})");

    for (const unsigned int code : kAnsweredBySenders) {
        RecordingChannels::ForgetCalls();

        FromApp(code, body);

        EXPECT_THAT(RecordingChannels::Outgoing(), Contains(SentCode(code | 0x10000000))) << std::hex << code;
    }
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, ShutDownIsAskedOfTheHostBySignalAlone)
{
    std::vector<bool> asked;
    QObject::connect(GetExternalController(), &CExternalController::signalCloseSoftWare,
                     [&](bool closeServer) { asked.push_back(closeServer); });

    FromApp(Command::ShutDown);

    EXPECT_THAT(asked, ElementsAre(true));
    EXPECT_THAT(Reports(), IsEmpty());
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(AppIntakeTest, AHeartbeatIsAnsweredOnTheChannelThatItCameOn)
{
    struct {
        std::uint16_t localPort;
        int channel;
    } const cases[] = {{25506, 0}, {25507, 1}};

    for (const auto& [localPort, channel] : cases) {
        RecordingChannels::ForgetCalls();

        FromApp(Command::Heartbeat, {}, {"10.0.0.7", 4007, localPort});

        EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Sent(0x10000001, {{"result", 1}}, channel))) << localPort;
    }
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, AHeartbeatsAnswerIsTheseBytes)
{
    using namespace std::string_literals;

    FromApp(Command::Heartbeat);

    const std::vector<SChannelCall> sent = RecordingChannels::Outgoing();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].package->data, "ZXAP\x10\0\0\x01\0\0\0\x14{\n    \"result\": 1\n}\n"s);
}

TEST_F(AppIntakeTest, AHeartbeatOnAnyOtherPortIsNotAnswered)
{
    for (const std::uint16_t localPort : std::vector<std::uint16_t>{0, 25505, 25508, 65535})
        FromApp(Command::Heartbeat, {}, {"10.0.0.7", 4007, localPort});

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, WhateverTheBodyIsTheCodeDecides)
{
    const std::string bodies[] = {"",
                                  "no JSON",
                                  "[1, 2]",
                                  "7",
                                  "null",
                                  R"({"cut": )",
                                  "{}",
                                  NestedObjects(10000),
                                  std::string(100, '\0'),
                                  "\xff\xfe{}"};

    for (const std::string& body : bodies) {
        RecordingChannels::ForgetCalls();
        ForgetReports();

        RecordingChannels::App().tcp(RawPacket(Envelope(Command::HostNameAndVersion, body)));
        RecordingChannels::App().tcp(RawPacket(Envelope(0x102, body)));

        EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(SentCode(0x10000005))) << body.substr(0, 20);
        EXPECT_THAT(Reports(), ElementsAre(Report({0x100, 0x102, false, {}, 1}))) << body.substr(0, 20);
    }
}

TEST_F(AppIntakeTest, WhatIsNoEnvelopeIsReportedAsCodeZero)
{
    const std::string whole = Envelope(Command::HostNameAndVersion, "");
    std::string wrongMark = whole;
    wrongMark[0] = 'Y';
    const std::string payloads[] = {"", whole.substr(0, 3), whole.substr(0, whole.size() - 1), wrongMark};

    for (const std::string& payload : payloads) {
        ForgetReports();

        RecordingChannels::App().tcp(RawPacket(payload));

        EXPECT_THAT(Reports(), ElementsAre(Report({0, 0, false, {}, 1}))) << payload.size() << " bytes";
    }
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(AppIntakeTest, NoPacketAtAllIsPassedOver)
{
    RecordingChannels::App().tcp(nullptr);
    RecordingChannels::App().udp(nullptr);

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, ACloseNoticeIsNeverReadAsAPacket)
{
    for (const std::int32_t closed : {1, 2, -1}) {
        const auto notice = AppPacket(0x102, {{"value", 7}});
        notice->closed = closed;
        RecordingChannels::App().tcp(notice);
    }

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, TheCloseOfAnotherAddressLeavesTheLoginAlone)
{
    LogIn({"10.0.0.7", 4007});

    for (const char* ip : {"10.0.0.8", "10.0.0.70", "10.0.0.", ""})
        RecordingChannels::App().tcp(CloseNotice({ip, 4007}));

    EXPECT_TRUE(HostModels::UserModel().GetLoginState());
    EXPECT_EQ(HostModels::UserModel().GetCurrentLoginUser(), "operator");
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(AppIntakeTest, TheCloseOfTheLastAppWithNobodyLoggedInIsToldToNobody)
{
    LogIn({"10.0.0.7", 4007});
    HostModels::UserModel().SetLoginState(false);
    int stops = 0;
    QObject::connect(GetExternalController(), &CExternalController::signalStopAppStreamPush, [&] { ++stops; });

    RecordingChannels::App().tcp(CloseNotice({"10.0.0.7", 4007}));

    EXPECT_THAT(Reports(), IsEmpty());
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_EQ(stops, 0);
}

TEST_F(AppIntakeTest, AFinishedUploadIsReportedWithItsPathIfItHasOne)
{
    RecordingChannels::App().uploadEnd("");
    RecordingChannels::App().uploadEnd("Medien/Übung 1.mp4");

    const QJsonObject body = {{"resourcePath", "Medien/Übung 1.mp4"}};
    EXPECT_THAT(Reports(), ElementsAre(Report({1024, 1025, false, body, 1})));
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}
