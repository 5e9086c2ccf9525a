#include "ExternalController/Common/Command.h"
#include "Support/ControllerTest.h"
#include "Support/HostDoubles.h"
#include "Support/ShowBuilder.h"

#include "HostModels/Files/PasswordCipher.h"
#include "Interfaces/CltLog.h"

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

/// Remembers the events, each as text.
class CTestLogger : public CltLog::CLogger {
public:
    explicit CTestLogger(int level) : m_level(level) {}
    int GetLevel() override { return m_level; }
    void SetPattern(const std::string&) override {}
    void Log(const CltLog::CLogEvent& event) override
    {
        events.push_back(std::to_string(event.GetLevel()) + ' ' + std::to_string(event.GetKind()) + ' ' +
                         event.GetModule() + ' ' + event.GetFunction() + ' ' + event.GetText());
        EXPECT_EQ(event.GetLogger().get(), this);
        EXPECT_LE(std::time(nullptr) - event.GetTime(), 10);
    }

    std::vector<std::string> events;

private:
    int m_level;
};

} // namespace

class CloudIntakeTest : public ControllerTest {
protected:
    CloudIntakeTest() { LoadStage({}); }
    ~CloudIntakeTest() override { Doubles() = {}; }

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

TEST_F(CloudIntakeTest, ARebootIsSignalledAndLogged)
{
    int restarts = 0;
    QObject::connect(&m_controller, &CExternalController::signalRestartSoftware, [&] { ++restarts; });
    const auto logged = std::make_shared<CTestLogger>(5);
    const auto rejected = std::make_shared<CTestLogger>(6);

    for (const auto& logger : {std::shared_ptr<CTestLogger>(), logged, rejected}) {
        Doubles().operationLog = logger;
        FromCloud(Message(0x015));
    }

    EXPECT_EQ(restarts, 3);
    EXPECT_THAT(logged->events, ElementsAre("5 4 Log_Global Log_SoftwareRestart "));
    EXPECT_THAT(rejected->events, IsEmpty());
    ExpectSilence();
}

TEST_F(CloudIntakeTest, ARefreshSendsTheSystemInformationAndThenTheStage)
{
    FromCloud(Message(Command::Refresh));

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Reply(0), Reply(2)));
}

TEST_F(CloudIntakeTest, WhileAProjectIsLoadingSwitchAndPlayCommandsAreIgnored)
{
    for (const int state : {0, 2, -1, 1}) {
        ForgetReports();
        m_controller.SetPrjLoadState(state);
        for (const int code : {0x102, 0x306, 0x113})
            FromCloud(Message(code));
        std::vector<testing::Matcher<const SResultData&>> expected;
        if (state == 1)
            expected = {Report({0x100, 0x102, false, Message(0x102), 0x1000}),
                        Report({0x300, 0x306, false, Message(0x306), 0x1000})};
        expected.push_back(Report({0x100, 0x113, false, Message(0x113), 0x1000}));
        EXPECT_THAT(Reports(), testing::ElementsAreArray(expected)) << state;
    }
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

    // A missing text closes the connection, as when the cloud is switched off.
    RecordingChannels::SetCloudConnected(true);
    for (QString SSettings::*text : {&SSettings::cloudUser, &SSettings::cloudAccount, &SSettings::cloudPassword}) {
        Connect(CloudSettings());
        EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.InitInstance", "Cloud.Connect"));
        EXPECT_TRUE(setting.IsCloudConnected());
        settings = CloudSettings();
        (settings.*text).clear();
        Connect(settings);
        EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.InitInstance", "Cloud.Close"));
        EXPECT_FALSE(setting.IsCloudConnected());
    }
    RecordingChannels::SetCloudConnected(false);
    Connect(settings);
    EXPECT_THAT(CloudCalls(), ElementsAre("Cloud.InitInstance"));
    RecordingChannels::SetCloudConnected(true);

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
