#include "Interfaces/CloudControl.h"

#include "CloudControl/CloudControlConfig.h"
#include "Comm/ChannelEvents.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QWebSocket>
#include <QWebSocketServer>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr char kHost[] = "127.0.0.81";
constexpr std::chrono::milliseconds kPause(20);

const CloudControl::SCloudUserInfo kUser = {"stage", "left", "secret"};

} // namespace

/// The cloud is a server on the test's own thread, whose events run while the test waits.
class CloudControlManagerTest : public testing::Test {
protected:
    CloudControlManagerTest()
    {
        EXPECT_TRUE(m_server.listen(QHostAddress(kHost), CloudControl::kDefaultPort));
        QObject::connect(&m_server, &QWebSocketServer::newConnection, &m_server,
                         [this] { m_hosts.emplace_back(m_server.nextPendingConnection()); });
        SCloudControlConfig config;
        config.url = "ws://127.0.0.81:25511";
        config.firstPause = kPause;
        config.longestPause = kPause;
        config.pingPeriod = std::chrono::milliseconds(100);
        CloudControl::SetConfig(config);
        CChannelEvents::GetInstance().SetSink(
            [this](const SChannelEvent& event) {
                const std::lock_guard lock(m_mutex);
                m_events += event.text + '\n';
            },
            false);
    }

    ~CloudControlManagerTest() override { CChannelEvents::GetInstance().SetSink({}, false); }

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

    bool WasTold(const std::string& text)
    {
        const std::lock_guard lock(m_mutex);
        return m_events.find(text) != std::string::npos;
    }

    std::mutex m_mutex;
    std::string m_events;
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

TEST_F(CloudControlManagerTest, ClosingEndsTheTriesToo)
{
    m_server.close();
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return WasTold("refused"); }));
    EXPECT_TRUE(m_cloud.IsConnected());

    m_cloud.Close();
    EXPECT_FALSE(m_cloud.IsConnected());
    ASSERT_TRUE(m_server.listen(QHostAddress(kHost), CloudControl::kDefaultPort));
    // A try that was under way may still get through.
    LetTimePass(2 * kPause);
    m_hosts.clear();
    LetTimePass(10 * kPause);

    EXPECT_TRUE(m_hosts.empty());
}

TEST_F(CloudControlManagerTest, ALoginIsValidatedBesideTheConnection)
{
    m_cloud.Connect(kUser);
    m_cloud.ValidateLogin({"other", "", "a word"});
    ASSERT_TRUE(IsSoon([&] { return WasTold("login: valid"); }));
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 2; }));
    EXPECT_TRUE(m_cloud.IsConnected());

    m_server.close();
    m_cloud.ValidateLogin(kUser);

    EXPECT_TRUE(IsSoon([&] { return WasTold("login: refused"); }));
}

TEST_F(CloudControlManagerTest, ASilentCloudIsLeft)
{
    m_cloud.Connect(kUser);
    ASSERT_TRUE(IsSoon([&] { return m_hosts.size() == 1; }));

    // Its thread doesn't get to its socket, which answers no ping then.
    std::this_thread::sleep_for(std::chrono::milliseconds(500));

    EXPECT_TRUE(WasTold("no answer"));
    EXPECT_TRUE(IsSoon([&] { return m_hosts.size() >= 2; }));
}
