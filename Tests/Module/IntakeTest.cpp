#include "Support/ControllerTest.h"

#include "ExternalController/Common/Routes.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

/// A channel that requests come in on.
struct SIntake {
    const char* sends; ///< the call that answers
    int source;
    int query; ///< one that a sender answers
    std::set<int> handledInPlace;
    std::function<void(int code, const QJsonObject& body)> deliver;
    bool isOfPackets; ///< whose reports tell whether there was a body
};

const SIntake kApp = {"App.SendPackage",
                      0x0001,
                      Command::HostNameAndVersion,
                      {Command::ShutDown},
                      [](int code, const QJsonObject& body) {
                          RecordingChannels::Callbacks().appTcp(AppPacket(static_cast<unsigned int>(code), body));
                      },
                      true};
const SIntake kFP = {"FP.SendPackage",
                     0x0010,
                     Command::PlayStateNumber,
                     {},
                     [](int code, const QJsonObject& body) {
                         RecordingChannels::Callbacks().fp(AppPacket(static_cast<unsigned int>(code), body));
                     },
                     true};
const SIntake kCentral = {"Central.SendData",
                          0x0100,
                          Command::PlayStateText,
                          {Command::ShutDown},
                          [](int, QJsonObject body) { RecordingChannels::Callbacks().central(body); },
                          false};
const SIntake kCloud = {"Cloud.SendData",
                        0x1000,
                        Command::SystemInformation,
                        {Command::Restart},
                        [](int, QJsonObject body) { RecordingChannels::Callbacks().cloud(body); },
                        false};

} // namespace

class IntakeTest : public ControllerTest {
protected:
    IntakeTest()
    {
        QObject::connect(&Start(), &CExternalController::signalCloseSoftWare, [this](bool closeServer) {
            m_asked.push_back(closeServer);
            m_reportsWhenAsked = Reports().size();
        });
    }

    void Deliver(const SIntake& intake, int code, const QJsonObject& body = {})
    {
        RecordingChannels::ForgetCalls();
        ForgetReports();
        intake.deliver(code, body);
    }

    std::vector<bool> m_asked; ///< to close, with or without the server
    std::size_t m_reportsWhenAsked = 0;
};

TEST_F(IntakeTest, SendersAnswerQueriesAndEverythingElseIsTheHostsToCarryOut)
{
    QJsonObject body = {{"cmd", "a keyword"}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};
    std::size_t reportsWhenAnswered = 0;
    RecordingChannels::OnCall([&](const SChannelCall&) { reportsWhenAnswered += Reports().size(); });

    for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
        for (const int code : {intake->query, 0x011, 0x015, 0x102, 0x190, 0x2ff, 0x306, 0x4ff, 0x510, 0x600, 0xfff,
                               0x1005, 0x10000001, 0x10000005, 0x7fffffff, -0x7ffffffb, -1}) {
            if (intake->handledInPlace.count(code))
                continue;
            SCOPED_TRACE(testing::Message() << "code " << code << ", " << intake->sends);
            body["cmdType"] = code;

            Deliver(*intake, code, body);

            const bool isQuery = code == intake->query;
            const SResultData report = {code & 0xf00, code, intake->isOfPackets, body, intake->source};
            if (isQuery) {
                EXPECT_FALSE(RecordingChannels::Calls().empty());
                EXPECT_THAT(RecordingChannels::Calls(), Each(Field("name", &SChannelCall::name, intake->sends)));
            } else {
                EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
            }
            if (isQuery && intake != &kFP)
                EXPECT_THAT(Reports(), IsEmpty());
            else
                EXPECT_THAT(Reports(), ElementsAre(Report(report)));
        }
    }
    EXPECT_EQ(reportsWhenAnswered, 0u);
    EXPECT_THAT(m_asked, ElementsAre(false)) << "by central control alone";
    Deliver(kCentral, Command::WindowStreamPath, {{"cmdType", Command::WindowStreamPath}});
    ExpectSilence();
}

TEST_F(IntakeTest, EachRequestOfTheRoutingTableReachesThoseWhoAnswerIt)
{
    for (const SRoute& route : kRoutes) {
        for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
            if (!(route.askers & intake->source) || route.answerer == Answerer::Intake)
                continue;
            SCOPED_TRACE(testing::Message() << std::hex << "code 0x" << route.code << ", " << intake->sends);

            Deliver(*intake, route.code, {{"cmdType", route.code}});

            EXPECT_EQ(Reports().size(), route.answerer == Answerer::Sender ? 0u : 1u);
            if (route.answerer == Answerer::Host || route.answerer == Answerer::HostToSender) {
                EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
            }
        }
    }
}

TEST_F(IntakeTest, ShutDownIsAskedOfTheHostBySignalAloneAndClosingTheSoftwareIsReportedToo)
{
    for (const SIntake* intake : {&kApp, &kCentral}) {
        Deliver(*intake, Command::ShutDown, {{"cmdType", Command::ShutDown}});
        ExpectSilence();
    }
    EXPECT_THAT(m_asked, ElementsAre(true, true));

    Deliver(kCentral, Command::CloseSoftware, {{"cmdType", Command::CloseSoftware}});
    EXPECT_THAT(m_asked, ElementsAre(true, true, false));
    EXPECT_EQ(m_reportsWhenAsked, 0u);
    EXPECT_EQ(Reports().size(), 1u);
}

TEST_F(IntakeTest, APacketWithoutABodyIsReportedWithoutDataAndNoEnvelopeAsCodeZero)
{
    for (const char* body : {"", "no JSON", "[1, 2]", "{}"}) {
        for (const auto& deliver : {RecordingChannels::Callbacks().appTcp, RecordingChannels::Callbacks().fp}) {
            ForgetReports();
            deliver(RawPacket(CAppDataPack(0x102, body).GetData().toStdString()));
            deliver(RawPacket("no envelope"));
            ASSERT_EQ(Reports().size(), 2u);
            const int source = Reports()[0].nSourceFlags;
            EXPECT_THAT(Reports(),
                        ElementsAre(Report({0x100, 0x102, false, {}, source}), Report({0, 0, false, {}, source})));
        }
    }
}

TEST_F(IntakeTest, AMessageWithoutANumberIsCodeZeroAndAnEmptyOneIsNothing)
{
    for (const SIntake* intake : {&kCentral, &kCloud}) {
        for (const QJsonValue& code : {QJsonValue("17"), QJsonValue(), QJsonValue(17.5), QJsonValue(3e9)}) {
            const QJsonObject message = {{"cmd", "a keyword"}, {"cmdType", code}};
            Deliver(*intake, 0, message);
            EXPECT_THAT(Reports(), ElementsAre(Report({0, 0, false, message, intake->source})));
        }
        Deliver(*intake, 0, {});
        ExpectSilence();
    }
}

TEST_F(IntakeTest, ACloseNoticeOrNothingIsNeverReadAsAPacket)
{
    RecordingChannels::Callbacks().appUdp(nullptr);
    for (const auto& deliver : {RecordingChannels::Callbacks().appTcp, RecordingChannels::Callbacks().fp}) {
        deliver(nullptr);
        for (const std::int32_t closed : {1, 2, -1}) {
            const auto notice = AppPacket(0x102, {{"value", 7}});
            notice->closed = closed;
            deliver(notice);
        }
    }

    ExpectSilence();
}

TEST_F(IntakeTest, AFinishedUploadIsReportedWithItsPathIfItHasOne)
{
    RecordingChannels::Callbacks().uploadEnd("");
    RecordingChannels::Callbacks().uploadEnd("Medien/Übung 1.mp4");

    const QJsonObject body = {{"resourcePath", "Medien/Übung 1.mp4"}};
    EXPECT_THAT(Reports(), ElementsAre(Report({1024, 1025, false, body, 1})));
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(IntakeTest, OnlyTheExactDiscoveryDatagramIsAnswered)
{
    const std::string request = "App Server request Zentravox Controller";
    for (const std::string& datagram : {std::string(), request.substr(0, 38), request.substr(1), request + '\n',
                                        request + '\0', QString::fromStdString(request).toLower().toStdString()})
        RecordingChannels::Callbacks().appUdp(RawPacket(datagram));

    ExpectSilence();
}
