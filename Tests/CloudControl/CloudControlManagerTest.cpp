#include "Interfaces/CloudControl.h"

#include "CloudControl/CloudControlConfig.h"
#include "Support/EventLog.h"
#include "Support/OneShow.h"
#include "Support/Waiting.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebSocket>
#include <QWebSocketServer>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr char kHost[] = "127.0.0.81";
constexpr std::chrono::milliseconds kPause(2);

const CloudControl::SCloudUserInfo kUser = {"stage", "left", "secret"};

} // namespace

/// The cloud is a server on the test's thread. Its events run while the test waits.
class CloudControlManagerTest : public testing::Test {
protected:
    CloudControlManagerTest()
    {
        EXPECT_TRUE(m_server.listen(QHostAddress(kHost), CloudControl::kDefaultPort));
        QObject::connect(&m_server, &QWebSocketServer::newConnection, &m_server,
                         [this] { m_hosts.emplace_back(m_server.nextPendingConnection()); });
        SetPingPeriod(std::chrono::seconds(10));
    }

    static void SetPingPeriod(std::chrono::milliseconds period, std::chrono::milliseconds longestPause = kPause)
    {
        SCloudControlConfig config;
        config.url = "ws://127.0.0.81:25511";
        config.firstPause = kPause;
        config.longestPause = longestPause;
        config.pingPeriod = period;
        CloudControl::Config().Set(config);
    }

    template <class Condition>
    static bool IsSoon(Condition condition)
    {
        QElapsedTimer clock;
        clock.start();
        while (!condition() && clock.elapsed() < 20'000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return condition();
    }

    static void LetTimePass(std::chrono::milliseconds time)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < time.count())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }

    CEventLog m_log{false};
    QWebSocketServer m_server{"cloud", QWebSocketServer::NonSecureMode};
    std::vector<std::unique_ptr<QWebSocket>> m_hosts;
    CCloudControlManager m_cloud;
};

TEST_F(CloudControlManagerTest, ANewLoginReplacesTheConnectionOnce)
{
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 1; }));

    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 2; }));
    LetTimePass(10 * kPause);

    EXPECT_EQ(m_hosts.size(), 2u);
    EXPECT_FALSE(m_hosts[0]->isValid());
    EXPECT_TRUE(m_hosts[1]->isValid());
}

TEST_F(CloudControlManagerTest, ThePauseAfterAConnectionIsTheFirstOne)
{
    SetPingPeriod(std::chrono::seconds(10), std::chrono::hours(1));
    m_cloud.Connect(kUser);
    EXPECT_TRUE(IsSoon([&] {
        if (!m_hosts.empty())
            m_hosts.back()->close();
        return m_hosts.size() == 20;
    }));
}

TEST_F(CloudControlManagerTest, ClosingAlsoStopsConnectionAttempts)
{
    m_server.close();
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_log.Has("refused"); }));
    EXPECT_TRUE(m_cloud.IsConnected());

    m_cloud.Close();
    EXPECT_FALSE(m_cloud.IsConnected());
    ASSERT_TRUE(m_server.listen(QHostAddress(kHost), CloudControl::kDefaultPort));
    // An attempt that has already started may still succeed.
    LetTimePass(2 * kPause);
    m_hosts.clear();
    LetTimePass(10 * kPause);

    EXPECT_TRUE(m_hosts.empty());
}

TEST_F(CloudControlManagerTest, ALoginIsValidatedOnASeparateConnection)
{
    m_cloud.Connect(kUser);
    m_cloud.ValidateLogin({"other", "", "a word"});
    ASSERT_TRUE(IsSoon([&] { return m_log.Has("login: valid"); }));
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 2; }));
    EXPECT_TRUE(m_cloud.IsConnected());

    m_server.close();
    m_cloud.ValidateLogin(kUser);

    EXPECT_TRUE(IsSoon([&] { return m_log.Has("login: refused"); }));
}

TEST_F(CloudControlManagerTest, QueriesOfAClosedConnectionDelayNothing)
{
    std::promise<void> release;
    std::mutex mutex;
    std::vector<int> carriedOut;
    const auto last = [&] {
        const std::lock_guard lock(mutex);
        return carriedOut.empty() ? 0 : carriedOut.back();
    };
    m_cloud.SetCloudControlMsgCallBack([&, released = release.get_future().share()](QJsonObject& command) {
        {
            const std::lock_guard lock(mutex);
            carriedOut.push_back(command["cmdType"].toInt());
        }
        EXPECT_TRUE(ReadsOneShow());
        released.wait();
    });
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 1; }));
    m_hosts[0]->sendTextMessage(R"({"cmdType": 25})");
    ASSERT_TRUE(IsSoon([&] { return last() == 25; }));
    m_hosts[0]->sendTextMessage(R"({"cmd": "globalVolume", "param": 40})");
    for (std::size_t i = 1; i < CloudControl::kMaxWaitingCommands; ++i)
        m_hosts[0]->sendTextMessage(R"({"cmdType": 25})");
    m_hosts[0]->close();
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 2; }));

    m_hosts[1]->sendTextMessage(R"({"cmd": "refresh"})");
    m_hosts[1]->sendTextMessage("no command");
    m_hosts[1]->sendBinaryMessage(R"({"cmdType": 25})");
    ASSERT_TRUE(IsSoon([&] { return m_log.Has("frame ignored: "); }));
    release.set_value();

    EXPECT_TRUE(IsSoon([&] { return last() == 24; }));
    EXPECT_EQ(carriedOut, (std::vector<int>{25, 0x105, 24}));
}

TEST_F(CloudControlManagerTest, AFrameThatIsTooLongIsIgnoredAndTheConnectionStaysOpen)
{
    std::atomic<int> carriedOut{0};
    m_cloud.SetCloudControlMsgCallBack([&](QJsonObject& command) { carriedOut = command["cmdType"].toInt(); });
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 1; }));

    m_hosts[0]->sendTextMessage(R"({"cmdType": 25, "padding": ")" +
                                QString(static_cast<int>(CloudControl::kMaxCommandBytes), 'x') + "\"}");
    m_hosts[0]->sendTextMessage(R"({"cmd": "refresh"})");

    EXPECT_TRUE(IsSoon([&] { return carriedOut != 0; }));
    EXPECT_EQ(carriedOut, 24);
    EXPECT_TRUE(m_log.Has("ignored: a command has at most 4194304"));
}

TEST_F(CloudControlManagerTest, TheConnectionToASilentCloudIsClosed)
{
    SetPingPeriod(std::chrono::milliseconds(50));
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return !m_hosts.empty(); }));

    // The cloud runs on this thread, so that it doesn't answer pings meanwhile.
    EXPECT_TRUE(WaitUntil([&] { return m_log.Has("no answer"); }));
    EXPECT_TRUE(IsSoon([&] { return m_hosts.size() >= 2; }));
}

TEST_F(CloudControlManagerTest, TheConnectionToACloudThatIsSilentFromTheStartIsClosed)
{
    m_server.close();
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress(kHost), CloudControl::kDefaultPort));
    std::vector<std::unique_ptr<QTcpSocket>> hosts;
    QObject::connect(&silent, &QTcpServer::newConnection, &silent,
                     [&] { hosts.emplace_back(silent.nextPendingConnection()); });
    SetPingPeriod(std::chrono::milliseconds(10));
    m_cloud.Connect(kUser);

    EXPECT_TRUE(IsSoon([&] { return hosts.size() >= 2; }));
    EXPECT_TRUE(m_log.Has("no answer"));
}
