#include "Support/ControllerTest.h"
#include "Support/HostDoubles.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/Keywords.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Files/JsonFile.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <functional>
#include <map>
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
    const char* asker; ///< its name in the contract
    const char* sends; ///< name of the call that sends a reply
    int source;
    std::set<int> handledInPlace; ///< codes that no sender handles and that are not reported
    std::function<void(int code, const QJsonObject& body)> deliver;
    bool hasPackets; ///< its reports have hasData set if the packet had a body
};

const SIntake kApp = {"app",
                      "App.SendPackage",
                      0x0001,
                      {0x001, 0x003, 0x007, 0x011},
                      [](int code, const QJsonObject& body) {
                          RecordingChannels::Callbacks().appTcp(AppPacket(static_cast<unsigned int>(code), body));
                      },
                      true};
const SIntake kFP = {"fp",
                     "FP.SendPackage",
                     0x0010,
                     {},
                     [](int code, const QJsonObject& body) {
                         RecordingChannels::Callbacks().fp(AppPacket(static_cast<unsigned int>(code), body));
                     },
                     true};
const SIntake kCentral = {"central",
                          "Central.SendData",
                          0x0100,
                          {0x011},
                          [](int, QJsonObject body) { RecordingChannels::Callbacks().central(body); },
                          false};
const SIntake kCloud = {"cloud",
                        "Cloud.SendData",
                        0x1000,
                        {0x015, 0x018},
                        [](int, QJsonObject body) { RecordingChannels::Callbacks().cloud(body); },
                        false};
/// Queries that are answered only when the host passes them back.
const std::set<int> kPassedToTheHostFirst = {0x004, 0x201, 0x302, 0x304, 0x401};
/// A query that is never answered.
constexpr int kNeverAnswered = 0x299;

QJsonObject Contract()
{
    static const QJsonObject contract = ReadJsonObject(CONTRACT_FILE);
    return contract;
}

std::map<int, QJsonObject> ContractMessages()
{
    std::map<int, QJsonObject> messages;
    for (const QJsonValue& message : Contract().value("messages").toArray())
        messages[message["code"].toString().toInt(nullptr, 16)] = message.toObject();
    return messages;
}

/// Returns the keywords of central control or the cloud with their codes.
std::map<QString, int> KeywordsOf(const char* asker)
{
    std::map<QString, int> keywords;
    for (const auto& [code, message] : ContractMessages()) {
        for (const QJsonValue& keyword : message[asker]["keywords"].toArray())
            keywords[keyword.toString()] = code;
    }
    return keywords;
}

/// A request body that each channel accepts and each query finds data for.
QJsonObject BodyWith(int code)
{
    QJsonObject body = Json(R"({"mediaId": "#31", "sceneGroupId": "#2", "sceneId": "#3", "resourceId": "#5", "id": "x",
                                "cmd": "a keyword", "remoteIp": "10.0.0.9", "remotePort": 4000})");
    body["cmdType"] = code;
    return body;
}

} // namespace

class IntakeTest : public ControllerTest {
protected:
    IntakeTest()
    {
        QObject::connect(&m_controller, &CExternalController::signalCloseSoftWare, [this](bool closeServer) {
            m_asked.push_back(closeServer);
            m_reportsWhenAsked = Reports().size();
        });
    }

    ~IntakeTest() override { Doubles() = {}; }

    void Deliver(const SIntake& intake, int code, const QJsonObject& body = {})
    {
        RecordingChannels::ForgetCalls();
        ForgetReports();
        intake.deliver(code, body);
    }

    CExternalController& m_controller = Start();
    std::vector<bool> m_asked; ///< the argument of each signalCloseSoftWare
    std::size_t m_reportsWhenAsked = 0;
};

TEST_F(IntakeTest, EachRequestReachesItsAnswererOnEachChannel)
{
    const std::map<int, QJsonObject> messages = ContractMessages();
    std::set<int> codes = {0x2ff,      0x4ff,      0x510,      0x600,       0xfff, 0x1005,
                           0x10000001, 0x10000005, 0x7fffffff, -0x7ffffffb, -1};
    for (const auto& [code, message] : messages)
        codes.insert({code, code + 1});
    for (const SRoute& route : kRoutes)
        codes.insert(route.code);
    const SResource resource = MakeResource(5, 0);
    LoadStage({resource}, {MakeMedium(31, resource)});
    // Only a project with a path is exported.
    HostModels::Show().Change([](SShow& show) { show.file = "/shows/demo.zxc"; });
    bool isReportedEarly = false;
    RecordingChannels::OnCall([&](const SChannelCall&) { isReportedEarly |= !Reports().empty(); });

    for (const int code : codes) {
        for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
            if (intake->handledInPlace.count(code))
                continue;
            SCOPED_TRACE(testing::Message() << "code 0x" << std::hex << code << ", " << intake->asker);
            const auto found = messages.find(code);
            const bool isQuery = found != messages.end() && found->second.contains(intake->asker) &&
                                 !found->second.contains("command") && !kPassedToTheHostFirst.count(code);

            Deliver(*intake, code, BodyWith(code));

            EXPECT_EQ(RecordingChannels::Calls().empty(), !isQuery || code == kNeverAnswered);
            EXPECT_THAT(RecordingChannels::Calls(), Each(Field("name", &SChannelCall::name, intake->sends)));
            if (isQuery && intake != &kFP)
                EXPECT_THAT(Reports(), IsEmpty());
            else
                EXPECT_THAT(Reports(), ElementsAre(Report(
                                           {code & 0xf00, code, intake->hasPackets, BodyWith(code), intake->source})));
        }
    }
    EXPECT_FALSE(isReportedEarly) << "the FP controller's queries are answered before they are reported";
}

TEST_F(IntakeTest, TheRoutingTableHasTheChannelsOfTheContract)
{
    std::multiset<std::pair<int, int>> routes;
    std::multiset<std::pair<int, int>> contract;
    for (const SIntake* intake : {&kApp, &kFP, &kCentral, &kCloud}) {
        for (const SRoute& route : kRoutes) {
            if (route.askers & intake->source)
                routes.emplace(route.code, intake->source);
        }
        for (const auto& [code, message] : ContractMessages()) {
            if (message.contains(intake->asker))
                contract.emplace(code, intake->source);
        }
    }
    EXPECT_EQ(routes, contract);
}

TEST_F(IntakeTest, TheHostsAnswerToACommandReachesTheChannelThatAsked)
{
    const QJsonArray texts = Contract().value("$defs")["resultText"]["enum"].toArray();
    std::vector<int> codes = {0x0ff, 0x2ff, 0x510, 0x600};
    for (const auto& [code, message] : ContractMessages())
        codes.push_back(code);

    for (int result = 0; result <= texts.size(); ++result) {
        const QString text = texts[result].toString(); // empty for the last result
        for (const int code : codes) {
            SCOPED_TRACE(testing::Message() << "code 0x" << std::hex << code << ", result " << result);
            QJsonObject body = BodyWith(code);
            body["respon"] = QJsonObject{{"mode", 3}};
            body["errorMsg"] = "forged";
            QJsonObject reply = BodyWith(code);
            reply["result"] = result;
            reply["errorMsg"] = text;
            const auto answer = [&](int source) {
                RecordingChannels::ForgetCalls();
                m_controller.Write(CExternalController::MakeAnswer({code & 0xf00, code, true, body, source},
                                                                   static_cast<ResultText::Index>(result)));
                return RecordingChannels::Calls();
            };

            EXPECT_THAT(answer(kApp.source), ElementsAre(Sent(0x10000000U | static_cast<unsigned int>(code), reply)));
            EXPECT_THAT(answer(kFP.source), ElementsAre(SentToFP(static_cast<unsigned int>(code), reply)));
            EXPECT_THAT(answer(kCentral.source), ElementsAre(SentToCentral(text.toStdString(), "10.0.0.9", 4000)));
            EXPECT_THAT(answer(kCloud.source), IsEmpty());
        }
    }
}

TEST_F(IntakeTest, CodesAndKeywordsHaveTheNamesOfTheContract)
{
    for (const auto& [code, message] : ContractMessages())
        EXPECT_EQ(Command::NameOf(static_cast<unsigned int>(code)), message["name"].toString()) << code;
    EXPECT_EQ(std::size(Command::kNames), ContractMessages().size());
    EXPECT_EQ(Command::TextOf(0x004), "set-host-name (0x004)");
    EXPECT_EQ(Command::TextOf(0x10000004), "set-host-name (0x10000004)");
    EXPECT_EQ(Command::TextOf(0x123), "unknown (0x123)");

    std::map<QString, int> central = KeywordsOf("central");
    for (const QJsonValue& keyword : Contract().value("keywordsWithoutCommand").toArray())
        central[keyword.toString()] = 0;
    EXPECT_EQ(CenterControlCmdMap, central);
    EXPECT_EQ(CloudControlCmdMap, KeywordsOf("cloud"));
}

TEST_F(IntakeTest, AHeartbeatIsAnsweredOnItsChannel)
{
    const QJsonObject reply = {{"result", 1}};
    const auto answers = [](std::uint16_t localPort) {
        RecordingChannels::ForgetCalls();
        RecordingChannels::Callbacks().appTcp(AppPacket(0x001, {}, {"10.0.0.7", 4007, localPort}));
        return RecordingChannels::Calls();
    };

    EXPECT_THAT(answers(25506), ElementsAre(Sent(0x10000001, reply, AppServer::Control)));
    EXPECT_THAT(answers(25507), ElementsAre(Sent(0x10000001, reply, AppServer::Bulk)));
    EXPECT_THAT(answers(25505), IsEmpty());
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(IntakeTest, ShutDownIsOnlySignalledAndCentralControlCanCloseTheSoftware)
{
    for (const SIntake* intake : {&kApp, &kCentral}) {
        Deliver(*intake, 0x011, {{"cmdType", 0x011}});
        ExpectSilence();
    }
    EXPECT_THAT(m_asked, ElementsAre(true, true));

    for (const SIntake* intake : {&kApp, &kFP, &kCloud, &kCentral})
        Deliver(*intake, 0x190, {{"cmdType", 0x190}});
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

TEST_F(IntakeTest, TheDiscoveryDatagramIsAnsweredWithTheAdaptersIfThereAreAtMostTen)
{
    const std::string request = "App Server request Zentravox Controller";
    for (const std::string& datagram : {std::string(), request.substr(0, 38), request.substr(1), request + '\n',
                                        request + '\0', QString::fromStdString(request).toLower().toStdString()})
        RecordingChannels::Callbacks().appUdp(RawPacket(datagram));
    ExpectSilence();

    for (const int count : {0, 1, 2, 9, 10, 11}) {
        Doubles().adapters.clear();
        QJsonArray macs;
        for (int i = 0; i < count; ++i) {
            // The second and the third one have the address of this host.
            Doubles().adapters.push_back(
                MakeAdapter("", i == 1 || i == 2 ? "10.0.0.5" : "10.0.0.6", static_cast<BYTE>(i)));
            if (i % 3 == 1)
                Doubles().adapters.back().AddressLength = 6;
            macs.append(QString("00-1B-44-11-3A-B7") + (i % 3 == 1 ? "" : QString("-FF-%1").arg(i, 2, 10, QChar('0'))));
        }
        const QJsonObject reply = {{"name", "stage-pc"},
                                   {"id", "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4"},
                                   {"version", 2},
                                   {"macAddressList", count > 10 ? QJsonArray() : macs},
                                   {"macAddress", count > 10 || count < 2 ? QJsonValue("") : macs[count == 2 ? 1 : 2]}};
        RecordingChannels::ForgetCalls();

        RecordingChannels::Callbacks().appUdp(RawPacket(request));

        EXPECT_THAT(
            RecordingChannels::Calls(),
            ElementsAre(testing::AllOf(Field(&SChannelCall::name, "App.SendUdpData"),
                                       Field(&SChannelCall::ip, "10.0.0.7"), Field(&SChannelCall::port, 4007),
                                       Field(&SChannelCall::text, QJsonDocument(reply).toJson().toStdString()))))
            << count << " adapters";
    }
}

TEST_F(IntakeTest, ThisHostsAddressIsTheFirstIPv4AddressOtherThanLoopback)
{
    HostModels::UserModel().Load({{"operator", "c2VjcmV0", "", 1, 2}});
    for (const auto& [addresses, expected] : {std::pair(Doubles().addresses, "10.0.0.5"),
                                              std::pair(QList<QHostAddress>{QHostAddress("127.0.0.1")}, "127.0.0.1"),
                                              std::pair(QList<QHostAddress>{QHostAddress("fe80::1")}, "127.0.0.1")}) {
        Doubles().addresses = addresses;
        Deliver(kFP, 0x013);
        EXPECT_THAT(RecordingChannels::Calls(),
                    ElementsAre(SentToFP(0x013, {{"AppQRCode", QString(expected) + ",c2VjcmV0,operator"}})));
    }
}
