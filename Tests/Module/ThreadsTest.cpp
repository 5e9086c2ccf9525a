#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

using testing::Contains;
using testing::Each;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using ThreadsTest = ControllerTest;

TEST_F(ThreadsTest, WhatAChannelDeliversLateDoesNothing)
{
    Start();
    const auto app = RecordingChannels::App();
    const auto fp = RecordingChannels::FP();
    const auto central = RecordingChannels::Central();
    const auto cloud = RecordingChannels::Cloud();
    UninitExternalController();
    RecordingChannels::ForgetCalls();

    app.tcp(AppPacket(Command::HostNameAndVersion));
    app.tcp(AppPacket(Command::SetHostName));
    app.tcp(CloseNotice({""}));
    app.udp(RawPacket("App Server request Zentravox Controller"));
    app.uploadEnd("clip.mp4");
    app.connected("10.0.0.7", 4007);
    fp(AppPacket(0x100));
    QJsonObject message = {{"cmdType", 290}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};
    central(message);
    cloud(message);

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_THAT(Reports(), IsEmpty());
}

TEST_F(ThreadsTest, UninitWaitsForARequestThatIsBeingAnswered)
{
    Start();
    const auto tcp = RecordingChannels::App().tcp;
    const auto isEnding = [&] {
        const std::size_t before = RecordingChannels::Outgoing().size();
        tcp(AppPacket(Command::Heartbeat));
        return RecordingChannels::Outgoing().size() == before;
    };
    std::promise<void> answering;
    std::promise<void> goOn;
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        if (testing::Value(call, SentCode(0x10000005))) {
            answering.set_value();
            goOn.get_future().wait();
        }
    });
    std::thread request([&] { tcp(AppPacket(Command::HostNameAndVersion)); });
    answering.get_future().wait();
    std::promise<void> ended;
    std::thread watcher([&, end = ended.get_future()] {
        EXPECT_TRUE(WaitUntil(isEnding));
        // A controller that doesn't wait is gone well within this time.
        EXPECT_EQ(end.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        EXPECT_THAT(RecordingChannels::CallNames(), Not(Contains("App.Destroy")));
        goOn.set_value();
    });

    UninitExternalController();
    ended.set_value();

    watcher.join();
    request.join();
    EXPECT_THAT(RecordingChannels::CallNames(), Contains("App.Destroy"));
}

TEST_F(ThreadsTest, ARequestThatComesWhileInitStillRunsIsPassedOverOrAnswered)
{
    std::atomic<bool> enough{false};
    std::thread app;
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        if (call.name != "App.InitServer")
            return;
        app = std::thread([&, tcp = RecordingChannels::App().tcp] {
            while (!enough)
                tcp(AppPacket(Command::HostNameAndVersion));
        });
    });

    InitExternalController();
    GetExternalController()->Init();

    EXPECT_TRUE(WaitUntil([] { return !RecordingChannels::Outgoing().empty(); }));
    enough = true;
    app.join();
    EXPECT_THAT(RecordingChannels::Outgoing(), Each(SentCode(0x10000005)));
}

TEST_F(ThreadsTest, RequestsForNobodyDoNotDisturbThoseThatAreAnswered)
{
    constexpr int kThreads = 4;
    constexpr int kRequests = 200;
    CExternalController& controller = Start();
    std::atomic<int> taken{0};

    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kRequests; ++i) {
                const int unknownKey = 0x600 + thread * kRequests + i;
                taken += controller.Write({unknownKey, 0x1fe, {}, Source::Every}) ? kThreads * kRequests : 0;
                taken += controller.Write({SenderType::Stage, 0x1fe, {{"request", i}}, Source::App}) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(taken, kThreads * kRequests);
    EXPECT_THAT(RecordingChannels::Outgoing(), SizeIs(kThreads * kRequests));
}
