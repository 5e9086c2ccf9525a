#include "Support/ControllerTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

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
Names operator+(Names first, const Names& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// Returns settings with or without support of the app and of the cloud.
SSettings Supporting(bool app, bool cloud)
{
    SSettings settings;
    settings.appSupport = app;
    settings.cloudSupport = cloud;
    return settings;
}

} // namespace

using LifecycleTest = ControllerTest;

TEST_F(LifecycleTest, OneControllerExistsFromInitToUninit)
{
    StopExternalController();
    UninitExternalController();
    EXPECT_EQ(GetExternalController(), nullptr);

    InitExternalController();
    CExternalController* const first = GetExternalController();
    InitExternalController();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(GetExternalController(), first);

    UninitExternalController();
    EXPECT_EQ(GetExternalController(), nullptr);
}

TEST_F(LifecycleTest, AControllerThatWasNeverStartedCallsNoChannel)
{
    InitExternalController();

    GetExternalController()->ModifyAppResSavePath("uploads");
    GetExternalController()->ModifyAppSharedPath("shared");
    GetExternalController()->CreateExControlDev({});
    GetExternalController()->UpdateExControlDev({});
    GetExternalController()->DelExControlDev({});
    GetExternalController()->CloudControlConnect();
    GetExternalController()->CloudControlLogin("a", "b", "c");
    EXPECT_FALSE(GetExternalController()->Write({SenderType::Stage, 0x1fe, {}, Source::App}));
    StopExternalController();
    UninitExternalController();

    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}

TEST_F(LifecycleTest, InitCreatesAllChannelsAndStartsThoseThatTheSettingsSupport)
{
    const std::pair<SSettings, Names> cases[] = {
        {Supporting(true, false), Names{"App.Create"} + kAppStart + kOtherChannels},
        {Supporting(false, false), Names{"App.Create"} + kOtherChannels},
        {Supporting(false, true),
         Names{"App.Create"} + kOtherChannels + Names{"Cloud.InitInstance", "Cloud.InitInstance", "Cloud.IsConnected"}},
    };

    for (const auto& [settings, expected] : cases) {
        HostModels::SoftwareSetting().Load(settings, {});
        InitExternalController();
        RecordingChannels::ForgetCalls();

        GetExternalController()->Init();

        EXPECT_EQ(RecordingChannels::CallNames(), expected);
        UninitExternalController();
    }
}

TEST_F(LifecycleTest, SwitchingAppSupportOnLaterStartsTheAppServer)
{
    CExternalController& controller = Start(Supporting(false, false));

    controller.AppServerSupport(true);

    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAreArray(kAppStart));
    RecordingChannels::Callbacks().appTcp(AppPacket(Command::HostNameAndVersion));
    EXPECT_THAT(RecordingChannels::Outgoing(), ElementsAre(SentCode(Command::ReplyTo(Command::HostNameAndVersion))));
}

TEST_F(LifecycleTest, StopEndsTheSupervisionAndTheAppServerAndUninitReleasesAllChannels)
{
    CExternalController& controller = Start();
    controller.AppServerSupport(false);
    StopExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("App.UninitServer", "App.Stop"));

    controller.AppServerSupport(true);
    LogIn();
    StopExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Timer.Stop", "App.Stop"));

    RecordingChannels::ForgetCalls();
    UninitExternalController();
    EXPECT_THAT(RecordingChannels::CallNames(),
                ElementsAre("Timer.Destroy", "App.Destroy", "FP.Destroy", "Central.Destroy", "Cloud.Destroy"));
}

TEST_F(LifecycleTest, TheUploadFolderIsPassedOnToTheAppServer)
{
    CExternalController& controller = Start();

    controller.ModifyAppResSavePath(QStringLiteral("Medien/Übung"));

    ASSERT_THAT(RecordingChannels::CallNames(), ElementsAre("App.ModifyAppResSavePath"));
    EXPECT_EQ(RecordingChannels::Calls()[0].text, "Medien/Übung");
}

TEST_F(LifecycleTest, TheSharedFolderIsPassedOnToTheSenderOfItsList)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("page.pdf"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    CExternalController& controller = Start();

    controller.ModifyAppSharedPath(folder.path());

    RecordingChannels::Callbacks().appTcp(AppPacket(0x418));
    EXPECT_THAT(RecordingChannels::Calls(),
                ElementsAre(Sent(
                    0x10000418,
                    {{"result", 1}, {"count", 1}, {"0", QJsonObject{{"resPath", file.fileName()}, {"resType", 23}}}})));
}

TEST_F(LifecycleTest, EachSenderHasTheChannelsOfThePeersThatItAnswers)
{
    const std::pair<int, Names> cases[] = {
        {0x000, {"App.SendPackage", "FP.SendPackage"}},
        {0x100, {"App.SendPackage", "FP.SendPackage", "Central.SendData"}},
        {0x200, {"App.SendPackage", "FP.SendPackage", "Central.SendData"}},
        {0x300, {"App.SendPackage", "FP.SendPackage", "Central.SendData"}},
        {0x400, {"App.SendPackage"}},
        {0x500, {}},
    };
    CExternalController& controller = Start();

    for (const auto& [key, channels] : cases) {
        RecordingChannels::ForgetCalls();
        for (const int source : {0x0001, 0x0010, 0x0100, 0x1000})
            controller.Write({key, 0x6ff, {{"remoteIp", "10.0.0.9"}, {"errorMsg", "x"}}, source});
        EXPECT_EQ(RecordingChannels::CallNames(), channels) << "key " << key;
    }
}

TEST_F(LifecycleTest, WriteFindsTheSenderByItsKeyAndReadReturnsFalse)
{
    struct {
        int key;
        bool taken;
    } const cases[] = {{SenderType::ProjectData, true},
                       {SenderType::Stage, true},
                       {SenderType::StageMedia, true},
                       {SenderType::Scene, true},
                       {SenderType::Resource, true},
                       {SenderType::ExControlDev, true},
                       {SenderType::None, false},
                       {0x001, false},
                       {0x600, false},
                       {SenderType::StageMedia + 1, false},
                       {-2, false}};
    CExternalController& controller = Start();

    for (const auto& [key, taken] : cases) {
        EXPECT_EQ(controller.Write({key, 0x0fe, {}, 0}), taken) << "key " << key;
        EXPECT_FALSE(controller.Read({key, key, {{"name", "anything"}}, Source::Every})) << "key " << key;
    }
    EXPECT_THAT(RecordingChannels::Calls(), IsEmpty());
}
