#include "ExternalController/Common/Command.h"
#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "HostModels/Files/PasswordCipher.h"

#include <algorithm>
#include <string>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

auto Reply(int route)
{
    return AllOf(Field("name", &SChannelCall::name, "Cloud.SendData"), Field("number", &SChannelCall::number, route));
}

SSettings CloudSettings()
{
    SSettings settings;
    settings.cloudSupport = true;
    settings.cloudUser = "first text";
    settings.cloudAccount = "second";
    settings.cloudPassword = EncryptPassword("secret").value();
    return settings;
}

std::vector<std::string> CloudCalls()
{
    std::vector<std::string> names = RecordingChannels::CallNames();
    names.erase(std::remove(names.begin(), names.end(), "Cloud.IsConnected"), names.end());
    return names;
}

} // namespace

class CloudIntakeTest : public ControllerTest {
protected:
    CloudIntakeTest() { LoadStage({}); }

    static QJsonObject Message(const QJsonValue& code) { return {{"cmdType", code}, {"param", 1}}; }

    static void FromCloud(QJsonObject message) { RecordingChannels::Callbacks().cloud(message); }

    /// Connects as when the operator changes the settings of a running host.
    void Connect(const SSettings& settings)
    {
        HostModels::SoftwareSetting().Load(settings, {});
        RecordingChannels::ForgetCalls();
        m_controller.CloudControlConnect();
    }

    CExternalController& m_controller = Start();
};

TEST_F(CloudIntakeTest, ARebootIsOnlySignalled)
{
    int restarts = 0;
    QObject::connect(&m_controller, &CExternalController::signalRestartSoftware, [&] { ++restarts; });

    FromCloud(Message(Command::Restart));

    EXPECT_EQ(restarts, 1);
    ExpectSilence();
}

TEST_F(CloudIntakeTest, ARefreshSendsTheSystemInformationAndThenTheStage)
{
    FromCloud(Message(Command::Refresh));

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Reply(0), Reply(2)));
}

TEST_F(CloudIntakeTest, WhileAProjectIsLoadingSwitchAndPlayCommandsAreIgnored)
{
    m_controller.SetPrjLoadState(0);
    for (const int code : {Command::SwitchProject, Command::ScenePlay, Command::Brightness})
        FromCloud(Message(code));
    EXPECT_THAT(Reports(), ElementsAre(Report({SenderType::Stage, Command::Brightness, false,
                                               Message(Command::Brightness), Source::CloudControl})));

    ForgetReports();
    m_controller.SetPrjLoadState(1);
    FromCloud(Message(Command::ScenePlay));
    EXPECT_THAT(Reports(), ElementsAre(Report({SenderType::Scene, Command::ScenePlay, false,
                                               Message(Command::ScenePlay), Source::CloudControl})));
}

TEST_F(CloudIntakeTest, TheConnectionFollowsTheSettings)
{
    auto& setting = HostModels::SoftwareSetting();
    const auto connects = [](const char* texts) {
        return AllOf(Field("name", &SChannelCall::name, "Cloud.Connect"), Field("text", &SChannelCall::text, texts));
    };
    SSettings settings = CloudSettings();
    Connect(settings);
    EXPECT_THAT(RecordingChannels::Calls(), testing::Contains(connects("first text\nsecond\nsecret")));
    EXPECT_TRUE(setting.IsCloudConnected());

    settings.cloudPassword = "bm8gY2lwaGVy";
    Connect(settings);
    EXPECT_THAT(RecordingChannels::Calls(), testing::Contains(connects("first text\nsecond\n")));

    // A missing login closes the connection, as when the cloud is switched off.
    RecordingChannels::SetCloudConnected(true);
    settings.cloudAccount.clear();
    Connect(settings);
    EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.InitInstance", "Cloud.Close"));
    EXPECT_FALSE(setting.IsCloudConnected());

    Connect(CloudSettings());
    settings.cloudSupport = false;
    Connect(settings);
    EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.Close"));
    EXPECT_FALSE(setting.IsCloudConnected());

    RecordingChannels::SetCloudConnected(false);
    Connect(settings);
    EXPECT_THAT(CloudCalls(), IsEmpty());

    m_controller.CloudControlLogin("one", "two", "bm8=");
    EXPECT_THAT(RecordingChannels::Calls().back().text, "one\ntwo\nbm8=") << "a login is validated as it was typed";
    EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.ValidateLogin"));
}
