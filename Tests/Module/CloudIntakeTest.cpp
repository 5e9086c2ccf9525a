#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "HostModels/PasswordCipher.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

/// Written out: which codes go astray between the channel and the senders is what these tests are to find.
const std::set<int> kQueries = {22, 23, 24, 25, 393};

constexpr int kReboot = 21;

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
    CloudIntakeTest()
    {
        QObject::connect(&m_controller, &CExternalController::signalRestartSoftware, [this] { ++m_restarts; });
        LoadStage({});
    }

    static QJsonObject Message(const QJsonValue& code) { return {{"cmdType", code}, {"param", 1}}; }

    static void FromCloud(QJsonObject message) { RecordingChannels::Cloud()(message); }

    /// As the operator does while the host runs.
    void Connect(const SSettings& settings)
    {
        HostModels::SoftwareSetting().Load(settings, {});
        RecordingChannels::ForgetCalls();
        m_controller.CloudControlConnect();
    }

    CExternalController& m_controller = Start();
    int m_restarts = 0;
};

TEST_F(CloudIntakeTest, QueriesAreTheSendersARebootIsTheProgramsAndEverythingElseIsTheHosts)
{
    for (int code = -1; code <= 0x510; ++code) {
        ForgetReports();

        FromCloud(Message(code));

        if (kQueries.count(code) || code == kReboot)
            EXPECT_THAT(Reports(), IsEmpty()) << code;
        else
            EXPECT_THAT(Reports(), ElementsAre(Report({code & 0xf00, code, false, Message(code), 0x1000}))) << code;
    }
    EXPECT_EQ(m_restarts, 1);
    for (const SChannelCall& call : RecordingChannels::Outgoing())
        EXPECT_EQ(call.name, "Cloud.SendData");
}

TEST_F(CloudIntakeTest, ARefreshBringsTheSystemAndThenTheStage)
{
    FromCloud(Message(24));

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(Reply(0), Reply(2)));
}

TEST_F(CloudIntakeTest, NothingIsSwitchedOrPlayedWhileAProjectIsLoading)
{
    m_controller.SetPrjLoadState(0);
    for (const int code : {258, 774, 275})
        FromCloud(Message(code));
    EXPECT_THAT(Reports(), ElementsAre(Report({0x100, 275, false, Message(275), 0x1000})));

    ForgetReports();
    m_controller.SetPrjLoadState(1);
    FromCloud(Message(774));
    EXPECT_THAT(Reports(), ElementsAre(Report({0x300, 774, false, Message(774), 0x1000})));
}

TEST_F(CloudIntakeTest, AMessageWithoutANumberIsCodeZeroAndAnEmptyOneIsNothing)
{
    FromCloud(Message("24"));
    FromCloud({});

    EXPECT_THAT(Reports(), ElementsAre(Report({0, 0, false, Message("24"), 0x1000})));
}

TEST_F(CloudIntakeTest, TheLinkFollowsTheSettings)
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

    // What is missing closes as what is switched off does.
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
}

TEST_F(CloudIntakeTest, ALoginIsValidatedAsItWasTyped)
{
    m_controller.CloudControlLogin("one", "two", "bm8=");

    EXPECT_THAT(RecordingChannels::Calls(), ElementsAre(AllOf(Field("name", &SChannelCall::name, "Cloud.ValidateLogin"),
                                                              Field("text", &SChannelCall::text, "one\ntwo\nbm8="))));
}
