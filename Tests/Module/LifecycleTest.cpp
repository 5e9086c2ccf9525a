#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Names = std::vector<std::string>;

const Names kAppStart = {"App.SetCallBackFunc", "App.SetConnectedFuc", "App.InitServer"};
const Names kOtherChannels = {
    "FP.Create",
    "FP.SetCallBackFunc",
    "FP.InitServer",
    "Central.Create",
    "Central.SetCallBackFunc",
    "Central.InitServer",
    "Cloud.Create",
    "Cloud.SetCloudControlMsgCallBack",
};
const Names kChannelsEnd = {"App.Destroy", "FP.Destroy", "Central.Destroy", "Cloud.Destroy"};

Names operator+(Names first, const Names& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

SSettings Without(bool SSettings::*support)
{
    SSettings settings;
    settings.*support = false;
    return settings;
}

} // namespace

using LifecycleTest = ControllerTest;

TEST_F(LifecycleTest, OneControllerExistsFromInitToUninit)
{
    EXPECT_EQ(GetExternalController(), nullptr);

    InitExternalController();
    CExternalController* const first = GetExternalController();
    InitExternalController();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(GetExternalController(), first);

    UninitExternalController();
    EXPECT_EQ(GetExternalController(), nullptr);
}

TEST_F(LifecycleTest, WithoutAControllerStopAndUninitDoNothing)
{
    StopExternalController();
    UninitExternalController();

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
    EXPECT_EQ(GetExternalController(), nullptr);
}

TEST_F(LifecycleTest, AControllerThatNeverStartedTouchesNoChannel)
{
    InitExternalController();

    GetExternalController()->ModifyAppResSavePath("uploads");
    GetExternalController()->ModifyAppSharedPath("shared");
    GetExternalController()->CreateExControlDev({});
    EXPECT_FALSE(GetExternalController()->Write({SenderType::Stage, 0x1fe, {}, Source::App}));
    StopExternalController();
    UninitExternalController();

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(LifecycleTest, InitMakesWiresAndStartsOneChannelAfterTheOther)
{
    InitExternalController();

    GetExternalController()->Init();

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAreArray(Names{"App.Create"} + kAppStart + kOtherChannels));
}

TEST_F(LifecycleTest, WithoutAppSupportTheAppServerIsMadeButNeitherWiredNorStarted)
{
    HostModels::SoftwareSetting().Load(Without(&SSettings::appSupport), {});
    InitExternalController();

    GetExternalController()->Init();

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAreArray(Names{"App.Create"} + kOtherChannels));
}

TEST_F(LifecycleTest, CloudSupportStartsTheCloudChannelOnceItIsWired)
{
    SSettings settings;
    settings.cloudSupport = true;
    HostModels::SoftwareSetting().Load(settings, {});
    InitExternalController();

    GetExternalController()->Init();

    Names started = RecordingChannels::CallNames();
    const Names expected = Names{"App.Create"} + kAppStart + kOtherChannels + Names{"Cloud.InitInstance"};
    ASSERT_GE(started.size(), expected.size());
    started.resize(expected.size()); // the login comes behind
    EXPECT_EQ(started, expected);
}

TEST_F(LifecycleTest, AppSupportSwitchedOnLaterWiresAndStartsTheAppServer)
{
    CExternalController& controller = Start(Without(&SSettings::appSupport));

    controller.AppServerSupport(true);

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAreArray(kAppStart));
    RecordingChannels::App().tcp(AppPacket(Command::HostNameAndVersion));
    EXPECT_THAT(RecordingChannels::Outgoing(), ElementsAre(SentCode(0x10000005)));
}

TEST_F(LifecycleTest, AppSupportSwitchedOffEndsTheServerAndTheWatchOverTheApp)
{
    CExternalController& controller = Start();

    controller.AppServerSupport(false);
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("App.UninitServer"));

    LogIn();
    controller.AppServerSupport(false);
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Timer.Stop", "App.UninitServer"));
}

TEST_F(LifecycleTest, StopEndsTheWatchOverTheAppAndTheAppServerAndNothingElse)
{
    Start();

    StopExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("App.Stop"));

    LogIn();
    StopExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Timer.Stop", "App.Stop"));
}

TEST_F(LifecycleTest, UninitReleasesTheTimerAndThenTheChannelsInTheirOrder)
{
    Start();
    LogIn();

    UninitExternalController();

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAreArray(Names{"Timer.Destroy"} + kChannelsEnd));
}

TEST_F(LifecycleTest, TheUploadFolderIsPassedOnToTheAppServer)
{
    CExternalController& controller = Start();

    controller.ModifyAppResSavePath(QStringLiteral("Medien/Übung"));

    const std::vector<SChannelCall> calls = RecordingChannels::Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "App.ModifyAppResSavePath");
    EXPECT_EQ(calls[0].text, "Medien/Übung");
}

TEST_F(LifecycleTest, WriteFindsTheSenderByItsKey)
{
    struct {
        int key;
        bool taken;
    } const cases[] = {{0x000, true}, {0x100, true},  {0x200, true},  {0x300, true},    {0x400, true}, {0x500, true},
                       {-1, false},   {0x001, false}, {0x600, false}, {512 + 1, false}, {-2, false}};
    CExternalController& controller = Start();

    for (const auto& [key, taken] : cases)
        EXPECT_EQ(controller.Write({key, 0x0fe, {}, 0}), taken) << "key " << key;
}

TEST_F(LifecycleTest, BothStageKeysReachTheStageSender)
{
    const QJsonObject body = {{"remoteIp", "10.0.0.9"}, {"remotePort", 4000}, {"errorMsg", "from the stage"}};
    CExternalController& controller = Start();

    controller.Write({SenderType::Stage, 0x2fe, body, Source::Every});
    controller.Write({SenderType::StageMedia, 0x2fe, body, Source::Every});

    // No other sender answers every one of them.
    const auto toApp = Sent(0x100002fe, body);
    const auto toFP = SentToFP(0x2fe, body);
    const auto toCentral = SentToCentral("from the stage", "10.0.0.9", 4000);
    EXPECT_THAT(RecordingChannels::Outgoing(), ElementsAre(toApp, toFP, toCentral, toApp, toFP, toCentral));
}

TEST_F(LifecycleTest, NothingIsReadThroughTheController)
{
    CExternalController& controller = Start();

    for (const int key : {-1, 0x000, 0x100, 0x200, 0x300, 0x400, 0x500})
        EXPECT_FALSE(controller.Read({key, key, {{"name", "anything"}}, Source::Every})) << "key " << key;
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}
