#include "Interfaces/CentralControl.h"

#include "CentralControl/CentralControlConfig.h"
#include "Support/EventLog.h"
#include "Support/OneShow.h"
#include "Support/Waiting.h"
#include "Traffic/Faults.h"

#include <QJsonDocument>
#include <QNetworkDatagram>
#include <QUdpSocket>

#include <gmock/gmock.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {

constexpr char kAddress[] = "127.0.0.51";
constexpr char kSlow[] = "getPos"; ///< a keyword that the module under test answers slowly

const QJsonObject kFormatError = {{"result", 6}, {"errorMsg", "FORMAT ERROR"}};

QJsonObject UnknownCommand(const QString& keyword)
{
    return {{"cmd", keyword}, {"result", 7}, {"errorMsg", "COMMAND ERROR"}};
}

/// A central-control system. It receives only datagrams from the server's port.
class CController {
public:
    CController() { m_socket.connectToHost(kAddress, CentralControl::kPort); }

    void Send(const std::string& datagram) { m_socket.write(QByteArray::fromStdString(datagram)); }

    std::optional<QJsonObject> Receive(std::chrono::milliseconds timeout = kTimeout)
    {
        if (!m_socket.hasPendingDatagrams() && !m_socket.waitForReadyRead(static_cast<int>(timeout.count())))
            return std::nullopt;
        return QJsonDocument::fromJson(m_socket.receiveDatagram().data()).object();
    }

    std::optional<QJsonObject> Ask(const std::string& datagram, std::chrono::milliseconds timeout = kTimeout)
    {
        Send(datagram);
        return Receive(timeout);
    }

    /// Adds the keys that the server adds to a message.
    QJsonObject Stamped(QJsonObject message, int code) const
    {
        message["cmdType"] = code;
        message["remoteIp"] = m_socket.localAddress().toString();
        message["remotePort"] = m_socket.localPort();
        return message;
    }

private:
    QUdpSocket m_socket;
};

/// A server whose module answers every message with the message that it received.
class CentralChannelTest : public testing::Test {
protected:
    CentralChannelTest()
    {
        CentralControl::Config().Set({kAddress});
        m_server = std::make_unique<CCentralControllerManager>();
        m_server->SetCallBackFunc([this, server = m_server.get()](QJsonObject& message) { Answer(*server, message); });
        m_server->InitServer();
    }

    ~CentralChannelTest() override
    {
        m_gate.Open();
        m_server.reset();
    }

    void Answer(CCentralControllerManager& server, const QJsonObject& message)
    {
        EXPECT_TRUE(ReadsOneShow());
        ++m_messages;
        if (message["cmd"] == kSlow) {
            ++m_slow;
            m_gate.Wait();
        }
        server.SendData(QJsonDocument(message).toJson().toStdString(), message["remoteIp"].toString().toStdString(),
                        static_cast<unsigned short>(message["remotePort"].toInt()));
    }

    CGate m_gate;
    std::atomic<int> m_messages{0};
    std::atomic<int> m_slow{0};
    CEventLog m_log{false};
    std::unique_ptr<CCentralControllerManager> m_server;
};

} // namespace

TEST_F(CentralChannelTest, AKeywordIsAcceptedInEveryFormAndGetsItsCodeAndSender)
{
    CController controller;

    for (const char* datagram : {R"({"cmd": "getHDR"})", R"("getHDR")", "getHDR", " getHDR\r\n"})
        EXPECT_EQ(controller.Ask(datagram), controller.Stamped({{"cmd", "getHDR"}}, 0x196)) << datagram;
    EXPECT_EQ(controller.Ask(R"({"cmd": "stopWnd", "row": 1, "text": "Bühne"})"),
              controller.Stamped({{"cmd", "stopWnd"}, {"row", 1}, {"text", "Bühne"}}, 0));
    // The peer's own values for code and sender are overwritten.
    EXPECT_EQ(controller.Ask(R"({"cmd": "getHDR", "cmdType": 17, "remoteIp": "10.0.0.9", "remotePort": "9"})"),
              controller.Stamped({{"cmd", "getHDR"}}, 0x196));
}

TEST_F(CentralChannelTest, AFaultReplacesTheReplyOfTheModule)
{
    CController controller;
    SFault fault;
    fault.channel = TrafficChannel::CentralControl;
    fault.first = 1;
    fault.action = SFault::Action::Reply;
    fault.reply = R"({"other": 1})";
    CFaults::GetInstance().Add(fault);
    EXPECT_EQ(controller.Ask("getHDR"), (QJsonObject{{"other", 1}}));
    EXPECT_EQ(controller.Ask("stopWnd"), controller.Stamped({{"cmd", "stopWnd"}}, 0));
    CFaults::GetInstance().Clear();
}

TEST_F(CentralChannelTest, AnInvalidCommandIsRefusedAndNotDelivered)
{
    CController controller;
    std::string deep;
    for (int i = 0; i < 20000; ++i)
        deep += "[";
    const std::string malformed[] = {
        "",
        std::string(1, '\0'),
        "{}",
        R"(["getHDR"])",
        "7",
        "1],[2",
        "getHDR getHDR",
        "{\"cmd\": \"get\xc3HDR\"}",
        R"({"cmd": )",
        R"({"cmd": "getHDR", "cmd": "getHDR"})",
        R"({"cmd": "getHDR", "deep": )" + std::string(64, '[') + std::string(64, ']') + "}",
        deep,
        R"({"cmd": 7})",
        R"({"cmdType": 17})",
        std::string(65507, '\0'),
    };

    for (const std::string& datagram : malformed)
        EXPECT_EQ(controller.Ask(datagram), kFormatError) << datagram.substr(0, 40);
    for (const char* keyword : {"gethdr", "switch-it-off", "17"})
        EXPECT_EQ(controller.Ask('"' + std::string(keyword) + '"'), UnknownCommand(keyword));
    EXPECT_EQ(controller.Ask(R"({"cmd": "Bühne", "cmdType": 17})"), UnknownCommand("Bühne"));
    EXPECT_EQ(m_messages, 0);

    // An error is not answered with an error: the next answer is that to the next question.
    for (const QJsonObject& error : {kFormatError, UnknownCommand("x")})
        controller.Send(QJsonDocument(error).toJson().toStdString());
    EXPECT_EQ(controller.Ask("getHDR"), controller.Stamped({{"cmd", "getHDR"}}, 0x196));
}

TEST_F(CentralChannelTest, ASlowQueryDelaysOnlyItsPeerWhoseAnswersKeepTheirOrder)
{
    std::vector<std::unique_ptr<CController>> slow;
    for (int i = 0; i < 5; ++i) {
        slow.push_back(std::make_unique<CController>());
        slow.back()->Send(kSlow);
        for (int row = 0; row < 50; ++row)
            slow.back()->Send(R"({"cmd": "getHDR", "row": )" + std::to_string(row) + '}');
    }
    CController quick;

    EXPECT_EQ(quick.Ask("getHDR"), quick.Stamped({{"cmd", "getHDR"}}, 0x196));
    EXPECT_TRUE(WaitUntil([&] { return m_slow == 5; }));
    EXPECT_EQ(m_messages, 6) << "the first of each peer";
    m_gate.Open();

    for (const auto& controller : slow) {
        EXPECT_EQ(controller->Receive(), controller->Stamped({{"cmd", kSlow}}, 0));
        for (int row = 0; row < 50; ++row)
            ASSERT_EQ(controller->Receive(), controller->Stamped({{"cmd", "getHDR"}, {"row", row}}, 0x196));
    }
}

TEST_F(CentralChannelTest, AFloodIsLimitedAndOtherPeersAreAnswered)
{
    CController flooder;
    CController other;
    flooder.Send(kSlow);
    const std::string datagram = R"({"cmd": "getHDR", "text": ")" + std::string(1000, 't') + "\"}";

    for (int i = 0; i <= 100'000; ++i) {
        // When the last of these is answered, all earlier datagrams have been queued or dropped.
        if (i % 10'000 == 0) {
            ASSERT_TRUE(WaitUntil([&] { return other.Ask("getHDR", 500ms).has_value(); })) << i;
        }
        if (i < 100'000)
            flooder.Send(datagram);
    }
    const int before = m_messages;
    const std::string log = m_log.Text();
    EXPECT_NE(log.find("datagrams dropped"), std::string::npos);
    EXPECT_EQ(log.find("datagrams dropped"), log.rfind("datagrams dropped"));
    m_gate.Open();

    EXPECT_EQ(flooder.Receive(), flooder.Stamped({{"cmd", kSlow}}, 0));
    // One mebibyte of them was queued; the next one is accepted when there is space again, and handled last.
    EXPECT_TRUE(WaitUntil([&] {
        flooder.Send(kSlow);
        return m_slow > 1;
    }));
    EXPECT_GT(m_messages, before + 900);
    EXPECT_LT(m_messages, before + 1100);
}

TEST_F(CentralChannelTest, AnAnswerThatCannotBeSentIsLogged)
{
    m_server->SendData("{}", "not an address", 4000);
    m_server->SendData("{}", "", 4000);
    m_server->SendData("{}", kAddress, 0);
    m_server->SendData(std::string(65508, 't'), kAddress, 4000);

    for (const char* line : {" not an address:4000: datagram not sent", " :4000: datagram not sent",
                             " 127.0.0.51:0: datagram not sent", " 127.0.0.51:4000: datagram not sent"})
        EXPECT_THAT(m_log.Text(), HasSubstr(line));
}

TEST_F(CentralChannelTest, TheServerStopsDuringAFlood)
{
    std::atomic<bool> done{false};
    std::atomic<int> sent{0};
    std::thread flood([&] {
        CController controller;
        for (; !done; ++sent)
            controller.Send("getHDR");
    });
    ASSERT_TRUE(WaitUntil([&] { return m_messages > 100; }));

    m_server.reset();
    const int messages = m_messages;

    EXPECT_TRUE(WaitUntil([&, before = sent.load()] { return sent > before + 1000; }));
    EXPECT_EQ(m_messages, messages);
    done = true;
    flood.join();
}
