#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Pause.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <optional>
#include <stdexcept>
#include <thread>

struct SHeartBeatTestAccess {
    static void SetPause(CExternalController& controller, std::unique_ptr<IPause> pause)
    {
        controller.m_heartBeatPause = std::move(pause);
    }
};

namespace {

/// A pause whose time is controlled by the test.
class CTestPause : public IPause {
public:
    void WaitFor(std::chrono::milliseconds time, const std::function<bool()>& over) override
    {
        EXPECT_EQ(time, std::chrono::seconds(1));
        std::unique_lock lock(m_mutex);
        ++m_checks;
        m_isWaiting = true;
        m_changed.notify_all();
        // In a test where no time passes, the loop must be woken.
        if (!m_changed.wait_for(lock, kTimeout, [&] { return runsFreely || m_hasTick || over(); }))
            throw std::runtime_error("not woken");
        m_isWaiting = m_hasTick = false;
    }

    void Wake() override
    {
        if (beforeWake)
            beforeWake();
        const std::lock_guard lock(m_mutex);
        m_changed.notify_all();
    }

    /// Returns when this many checks were made since the start; one second passes between two checks.
    void LetChecksPass(int count)
    {
        std::unique_lock lock(m_mutex);
        while (m_checks < count) {
            const int before = m_checks;
            m_hasTick = m_isWaiting;
            m_changed.notify_all();
            ASSERT_TRUE(m_changed.wait_for(lock, kTimeout, [&] { return m_checks > before; }));
        }
    }

    std::function<void()> beforeWake;
    std::atomic<bool> runsFreely{false}; ///< the time passes as fast as possible

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_checks = 0;
    bool m_isWaiting = false;
    bool m_hasTick = false; ///< the second is over for which the loop waits
};

/// Tests the loop that supervises an app that is logged in and has just sent a heartbeat.
class HeartBeatTest : public ControllerTest {
protected:
    HeartBeatTest()
    {
        auto pause = std::make_unique<CTestPause>();
        m_pause = pause.get();
        m_controller.emplace();
        SHeartBeatTestAccess::SetPause(*m_controller, std::move(pause));
        m_controller->Init();
        RecordingChannels::Callbacks().connected(m_app.ip, m_app.port);
        LogIn(m_app);
        SendHeartBeat();
        RecordingChannels::ForgetCalls();
        StartLoop();
    }

    ~HeartBeatTest() override
    {
        RecordingChannels::OnCall({}); // the objects that the test's hook uses no longer exist
        if (m_controller)
            m_controller->Stop();
        if (m_loop.joinable())
            m_loop.join();
    }

    void StartLoop()
    {
        m_loop = std::thread([check = RecordingChannels::Callbacks().timer] { EXPECT_NO_THROW(check()); });
    }

    void SendHeartBeat() { RecordingChannels::Callbacks().appTcp(AppPacket(Command::Heartbeat, {}, m_app)); }

    std::ptrdiff_t Disconnects()
    {
        const auto calls = RecordingChannels::Calls();
        return std::count_if(calls.begin(), calls.end(), [&](const SChannelCall& call) {
            return call.name == "App.DisConnect" && call.ip == m_app.ip && call.port == m_app.port;
        });
    }

    const SPeer m_app;
    CTestPause* m_pause = nullptr;
    std::optional<CExternalController> m_controller;
    std::thread m_loop;
};

} // namespace

TEST_F(HeartBeatTest, ASilentAppIsDisconnectedAfterFiveSecondsAndAgainEverySecond)
{
    m_pause->LetChecksPass(5);
    EXPECT_EQ(Disconnects(), 0);

    m_pause->LetChecksPass(6);
    EXPECT_EQ(Disconnects(), 1);

    m_pause->LetChecksPass(8);
    EXPECT_EQ(Disconnects(), 3);
}

TEST_F(HeartBeatTest, AHeartbeatOrALoginRestartsTheTimeout)
{
    m_pause->LetChecksPass(5);
    SendHeartBeat();
    m_pause->LetChecksPass(10);
    RecordingChannels::Callbacks().appTcp(AppPacket(Command::Login, {{"username", "operator"}, {"force", 1}}, m_app));

    m_pause->LetChecksPass(15);
    EXPECT_EQ(Disconnects(), 0) << "the silence before the login counts";
    m_pause->LetChecksPass(16);
    EXPECT_EQ(Disconnects(), 1);
}

TEST_F(HeartBeatTest, TheTimeoutStartsAgainWhenTheAppServerIsSwitchedOffAndOn)
{
    m_pause->LetChecksPass(5);
    m_controller->AppServerSupport(false);
    m_loop.join();
    m_controller->AppServerSupport(true);
    const auto channels = RecordingChannels::Callbacks();
    channels.connected(m_app.ip, m_app.port);

    StartLoop();
    m_pause->LetChecksPass(5 + 5);
    EXPECT_EQ(Disconnects(), 0);
    m_pause->LetChecksPass(5 + 6);
    EXPECT_EQ(Disconnects(), 1);

    RecordingChannels::ForgetCalls();
    channels.appTcp(AppPacket(Command::Login, {{"username", "operator"}, {"force", 1}}, m_app));
    EXPECT_EQ(RecordingChannels::CallNames().at(0), "Timer.Start");
}

TEST_F(HeartBeatTest, AnAppIsSupervisedFromItsLogin)
{
    const auto channels = RecordingChannels::Callbacks();
    m_pause->LetChecksPass(1);
    channels.appTcp(CloseNotice(m_app));
    m_loop.join();

    channels.connected(m_app.ip, m_app.port);
    StartLoop();
    m_pause->LetChecksPass(1 + 8);
    EXPECT_EQ(Disconnects(), 0) << "no app is logged in";
    // A second connection closes after the connection of the login was opened.
    channels.appTcp(CloseNotice(m_app));
    m_loop.join();
    LogIn(m_app);
    StartLoop();

    m_pause->LetChecksPass(1 + 8 + 6);
    EXPECT_EQ(Disconnects(), 1);
}

TEST_F(HeartBeatTest, TheAddressOfASilentAppIsThatOfOneLogin)
{
    m_pause->LetChecksPass(1);
    std::atomic<int> mixed{0};
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        mixed += call.name == "App.DisConnect" && call.ip != std::string(40, static_cast<char>(call.port)) &&
                 call.port != m_app.port;
    });
    m_pause->runsFreely = true;
    m_pause->LetChecksPass(2);

    for (int turn = 0; turn < 100; ++turn) {
        const char letter = turn % 2 == 0 ? 'a' : 'b';
        LogIn({std::string(40, letter), static_cast<std::uint16_t>(letter)});
    }
    m_controller->Stop();
    m_loop.join();

    EXPECT_EQ(mixed, 0);
}

// In these tests no time passes: the loop ends only if it is woken.

TEST_F(HeartBeatTest, TheLoopEndsWhenTheAppDisconnects)
{
    m_pause->LetChecksPass(1);

    RecordingChannels::Callbacks().appTcp(CloseNotice(m_app));

    m_loop.join();
    EXPECT_EQ(Disconnects(), 0);
}

TEST_F(HeartBeatTest, TheLoopEndsWhenTheAppServerIsSwitchedOff)
{
    m_pause->LetChecksPass(1);
    // An app that connects meanwhile must not keep the loop running: stopping the server waits for it.
    m_pause->beforeWake = [&] { RecordingChannels::Callbacks().connected(m_app.ip, m_app.port); };

    m_controller->AppServerSupport(false);

    m_loop.join();
    EXPECT_THAT(RecordingChannels::CallNames(), testing::ElementsAre("Timer.Stop", "App.UninitServer"));
}

TEST_F(HeartBeatTest, DestroyingTheControllerWaitsForTheLoop)
{
    m_pause->LetChecksPass(1);
    // The recording timer has no thread: wait for the test's thread instead.
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        if (call.name == "Timer.Destroy")
            m_loop.join();
    });

    m_controller.reset();

    EXPECT_FALSE(m_loop.joinable());
}
