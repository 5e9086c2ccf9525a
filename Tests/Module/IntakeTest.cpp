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

/// A channel from which the module receives requests.
struct SIntake {
    const char* sends; ///< name of the call that sends a reply
    int source;
    int query;                    ///< a code that a sender answers
    std::set<int> handledInPlace; ///< codes that are neither answered nor reported
    std::function<void(int code, const QJsonObject& body)> deliver;
    bool hasPackets; ///< its reports have hasData set if the packet had a body
};

const SIntake kApp = {"App.SendPackage",
                      Source::App,
                      Command::HostNameAndVersion,
                      {Command::ShutDown},
                      [](int code, const QJsonObject& body) {
                          RecordingChannels::Callbacks().appTcp(AppPacket(static_cast<unsigned int>(code), body));
                      },
                      true};
const SIntake kFP = {"FP.SendPackage",
                     Source::FP,
                     Command::PlayStateNumber,
                     {},
                     [](int code, const QJsonObject& body) {
                         RecordingChannels::Callbacks().fp(AppPacket(static_cast<unsigned int>(code), body));
                     },
                     true};
const SIntake kCentral = {"Central.SendData",
                          Source::CentralControl,
                          Command::PlayStateText,
                          {Command::ShutDown},
                          [](int, QJsonObject body) { RecordingChannels::Callbacks().central(body); },
                          false};
const SIntake kCloud = {"Cloud.SendData",
                        Source::CloudControl,
                        Command::SystemInformation,
                        {Command::Restart},
                        [](int, QJsonObject body) { RecordingChannels::Callbacks().cloud(body); },
                        false};

/// A request body that central control accepts too.
QJsonObject BodyWith(int code)
{
    return {{"cmd", "a keyword"}, {"cmdType", code}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};
}

/// The report of a request with BodyWith(code).
SResultData ReportOf(const SIntake& intake, int code)
{
    return {code & SenderType::kMask, code, intake.hasPackets, BodyWith(code), intake.source};
}

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

    std::vector<bool> m_asked; ///< the argument of each signalCloseSoftWare
    std::size_t m_reportsWhenAsked = 0;
};

TEST_F(IntakeTest, AQueryIsAnsweredAndOnlyTheFPClientReportsItAfterwards)
{
    std::size_t reportsWhenAnswered = 0;
    RecordingChannels::OnCall([&](const SChannelCall&) { reportsWhenAnswered += Reports().size(); });

    for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
        SCOPED_TRACE(intake->sends);

        Deliver(*intake, intake->query, BodyWith(intake->query));

        EXPECT_FALSE(RecordingChannels::Calls().empty());
        EXPECT_THAT(RecordingChannels::Calls(), Each(Field("name", &SChannelCall::name, intake->sends)));
        if (intake == &kFP)
            EXPECT_THAT(Reports(), ElementsAre(Report(ReportOf(*intake, intake->query))));
        else
            EXPECT_THAT(Reports(), IsEmpty());
    }
    EXPECT_EQ(reportsWhenAnswered, 0u);
}

TEST_F(IntakeTest, ARequestThatNoSenderAnswersIsReportedToTheHost)
{
    const int codes[] = {
        Command::ShutDown, Command::Restart, Command::SwitchProject, Command::CloseSoftware, Command::ScenePlay,
        // no command has these codes
        0x2ff, 0x4ff, 0x510, 0x600, 0xfff, 0x1005, static_cast<int>(Command::ReplyTo(Command::Heartbeat)),
        static_cast<int>(Command::ReplyTo(Command::HostNameAndVersion)), 0x7fffffff, -0x7ffffffb, -1};

    for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
        for (const int code : codes) {
            if (intake->handledInPlace.count(code))
                continue;
            SCOPED_TRACE(testing::Message() << "code " << code << ", " << intake->sends);

            Deliver(*intake, code, BodyWith(code));

            EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
            EXPECT_THAT(Reports(), ElementsAre(Report(ReportOf(*intake, code))));
        }
    }
}

TEST_F(IntakeTest, OnlyCentralControlCanCloseTheSoftware)
{
    for (const SIntake* intake : {&kApp, &kFP, &kCloud})
        Deliver(*intake, Command::CloseSoftware, BodyWith(Command::CloseSoftware));
    EXPECT_THAT(m_asked, IsEmpty());

    Deliver(kCentral, Command::CloseSoftware, BodyWith(Command::CloseSoftware));
    EXPECT_THAT(m_asked, ElementsAre(false));
}

TEST_F(IntakeTest, AWindowStreamPathRequestIsNeitherAnsweredNorReported)
{
    Deliver(kCentral, Command::WindowStreamPath, {{"cmdType", Command::WindowStreamPath}});

    ExpectSilence();
}

TEST_F(IntakeTest, EachRequestOfTheRoutingTableReachesItsAnswerer)
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

TEST_F(IntakeTest, ShutDownIsOnlySignalledAndClosingTheSoftwareIsSignalledAndReported)
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

TEST_F(IntakeTest, APacketWithoutABodyIsReportedWithoutDataAndAMalformedPacketAsCodeZero)
{
    for (const char* body : {"", "not JSON", "[1, 2]", "{}"}) {
        for (const auto& deliver : {RecordingChannels::Callbacks().appTcp, RecordingChannels::Callbacks().fp}) {
            ForgetReports();
            deliver(RawPacket(CAppDataPack(Command::SwitchProject, body).GetData().toStdString()));
            deliver(RawPacket("not an envelope"));
            ASSERT_EQ(Reports().size(), 2u);
            const int source = Reports()[0].nSourceFlags;
            EXPECT_THAT(Reports(), ElementsAre(Report({SenderType::Stage, Command::SwitchProject, false, {}, source}),
                                               Report({0, 0, false, {}, source})));
        }
    }
}

TEST_F(IntakeTest, AMessageWithoutANumberIsReportedAsCodeZeroAndAnEmptyMessageIsIgnored)
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

TEST_F(IntakeTest, ACloseNoticeOrANullPackageIsNotReadAsAPacket)
{
    RecordingChannels::Callbacks().appUdp(nullptr);
    for (const auto& deliver : {RecordingChannels::Callbacks().appTcp, RecordingChannels::Callbacks().fp}) {
        deliver(nullptr);
        for (const std::int32_t closed : {1, 2, -1}) {
            const auto notice = AppPacket(Command::SwitchProject, {{"value", 7}});
            notice->closed = closed;
            deliver(notice);
        }
    }

    ExpectSilence();
}

TEST_F(IntakeTest, AFinishedUploadIsReportedIfItHasAPath)
{
    RecordingChannels::Callbacks().uploadEnd("");
    RecordingChannels::Callbacks().uploadEnd("Medien/Übung 1.mp4");

    const QJsonObject body = {{"resourcePath", "Medien/Übung 1.mp4"}};
    EXPECT_THAT(Reports(),
                ElementsAre(Report({SenderType::Resource, Command::ResourceItem, false, body, Source::App})));
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
