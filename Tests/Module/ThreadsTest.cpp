#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"

#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Not;

using ThreadsTest = ControllerTest;

namespace {

bool IsMainThreadBlocked()
{
    std::ifstream file("/proc/self/stat");
    std::string number, name, state;
    file >> number >> name >> state;
    return state == "S";
}

} // namespace

TEST_F(ThreadsTest, DeliveriesAfterUninitAreIgnored)
{
    Start();
    const auto channels = RecordingChannels::Callbacks();
    UninitExternalController();
    RecordingChannels::ForgetCalls();

    channels.appTcp(AppPacket(Command::HostNameAndVersion));
    channels.appTcp(AppPacket(Command::SetHostName));
    channels.appTcp(CloseNotice({""}));
    channels.appUdp(RawPacket("App Server request Zentravox Controller"));
    channels.uploadEnd("clip.mp4");
    channels.connected("10.0.0.7", 4007);
    channels.fp(AppPacket(Command::StageSnapshot));
    QJsonObject message = {{"cmdType", Command::PlayStateText}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};
    channels.central(message);
    channels.cloud(message);

    ExpectSilence();
}

TEST_F(ThreadsTest, UninitWaitsForARequestThatIsBeingAnswered)
{
    Start();
    const auto tcp = RecordingChannels::Callbacks().appTcp;
    const auto isEnding = [&] {
        const std::size_t before = RecordingChannels::Outgoing().size();
        tcp(AppPacket(Command::Heartbeat));
        return RecordingChannels::Outgoing().size() == before;
    };
    std::promise<void> answering;
    std::promise<void> goOn;
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        if (testing::Value(call, SentCode(Command::ReplyTo(Command::HostNameAndVersion)))) {
            answering.set_value();
            goOn.get_future().wait_for(kTimeout);
        }
    });
    std::thread request([&] { tcp(AppPacket(Command::HostNameAndVersion)); });
    EXPECT_EQ(answering.get_future().wait_for(kTimeout), std::future_status::ready);
    std::thread watcher([&] {
        EXPECT_TRUE(WaitUntil(isEnding));
        // A controller that doesn't wait blocks only later, in the join.
        EXPECT_TRUE(WaitUntil(IsMainThreadBlocked));
        EXPECT_THAT(RecordingChannels::CallNames(), Not(Contains("App.Destroy")));
        goOn.set_value();
    });

    UninitExternalController();

    watcher.join();
    request.join();
    EXPECT_THAT(RecordingChannels::CallNames(), Contains("App.Destroy"));
}

TEST_F(ThreadsTest, AStopAndTheLoginsAndNoticesDuringItDoNotDeadlock)
{
    CExternalController& controller = Start();
    const auto tcp = RecordingChannels::Callbacks().appTcp;
    const std::pair<const char*, std::function<void()>> stops[] = {
        {"App.Stop", StopExternalController},
        {"App.UninitServer", [&] { controller.AppServerSupport(false); }},
    };

    for (const auto& [stop, run] : stops) {
        controller.AppServerSupport(true);
        LogIn();
        std::vector<std::future<void>> deliveries;
        const auto deliver = [&](const std::shared_ptr<Comm::ResponsePackage>& packet) {
            deliveries.push_back(std::async(std::launch::async, tcp, packet));
            EXPECT_EQ(deliveries.back().wait_for(kTimeout), std::future_status::ready);
        };
        RecordingChannels::OnCall([&, stop = std::string(stop)](const SChannelCall& call) {
            if (call.name == "Timer.Stop")
                deliver(AppPacket(Command::Login, {{"username", "operator"}, {"force", 1}}));
            else if (call.name == stop)
                deliver(CloseNotice({}));
        });

        run();

        RecordingChannels::OnCall({});
        EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Timer.Stop", "App.SendPackage", stop));
        EXPECT_FALSE(HostModels::UserModel().GetLoginState());
    }
}

TEST_F(ThreadsTest, ARequestDuringInitIsIgnoredOrAnswered)
{
    std::atomic<bool> enough{false};
    std::thread app;
    RecordingChannels::OnCall([&](const SChannelCall& call) {
        if (call.name != "App.InitServer")
            return;
        RecordingChannels::Callbacks().appTcp(AppPacket(Command::HostNameAndVersion));
        EXPECT_THAT(RecordingChannels::Outgoing(), testing::IsEmpty()) << "there are no senders yet";
        // ThreadSanitizer reports an early use of the table of senders, and a missing lock of the shared folder.
        app = std::thread([&, tcp = RecordingChannels::Callbacks().appTcp] {
            while (!enough) {
                tcp(AppPacket(Command::HostNameAndVersion));
                tcp(AppPacket(Command::SharedFolderList));
            }
        });
    });

    InitExternalController();
    GetExternalController()->Init();

    EXPECT_TRUE(WaitUntil([] {
        GetExternalController()->ModifyAppSharedPath({});
        return RecordingChannels::Outgoing().size() > 1;
    }));
    enough = true;
    app.join();
    EXPECT_THAT(RecordingChannels::Outgoing(),
                Each(testing::AnyOf(SentCode(Command::ReplyTo(Command::HostNameAndVersion)),
                                    SentCode(Command::ReplyTo(Command::SharedFolderList)))));
}
