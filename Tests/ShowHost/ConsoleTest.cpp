#include "ShowHost/Console.h"

#include "Support/ControllerTest.h"

#include "AppServer/AppServerConfig.h"
#include "ExternalController/Common/Command.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"
#include "ShowHost/HostLog.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::uint32_t s_sentToApps = 0; ///< the code of the last packet to all apps

} // namespace

/// Replaces the app server's function: the channels of these tests have no apps.
void AppServer::SendToApps(std::uint32_t code)
{
    s_sentToApps = code;
}

namespace {

/// Returns what the host prints on standard output, with "TIME" instead of the times.
template <class Use>
std::string Printed(Use use)
{
    testing::internal::CaptureStdout();
    {
        CHostLog log;
        use(log);
        // When it is destroyed, the log waits 200 ms for its output, which may not be sufficient on a busy machine.
        log.PrintAnswer("end");
        EXPECT_TRUE(WaitUntil([] {
            QFile printed("/proc/self/fd/1");
            return printed.open(QIODevice::ReadOnly) && printed.readAll().endsWith("end\n");
        }));
    }
    QString text = QString::fromStdString(testing::internal::GetCapturedStdout());
    text.chop(4);
    static const QRegularExpression time("^\\d\\d:\\d\\d:\\d\\d\\.\\d{3} ", QRegularExpression::MultilineOption);
    return text.replace(time, "TIME ").toStdString();
}

class ConsoleTest : public ControllerTest {
protected:
    ConsoleTest()
    {
        QDir(m_folder.path()).mkdir("state");
        HostModels::Devices().Load(m_file);
        Start();
    }
    ~ConsoleTest() override { HostModels::Devices().Load({}); }

    static std::string Execute(const char* line)
    {
        return Printed([&](CHostLog& log) { CConsole(*GetExternalController(), log).CarryOut(line); });
    }

    const QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath("state/devices.json");
};

constexpr char kId[] = "75abf6a9-add1-4262-84c2-217f41365491";

} // namespace

TEST_F(ConsoleTest, ADeviceIsAddedChangedListedAndDeletedWhileTheHostRuns)
{
    const std::string name = std::string("{") + kId + "} Lights";
    const std::string udp = std::string(R"(device put {"DevId": ")") + kId +
                            R"(", "Name": "Lights", "Type": "udp", "Ip": "10.0.0.2", "Port": 9})";
    const std::string serial = std::string(R"(device put {"DevId": ")") + kId +
                               R"(", "Type": "serial", "PortName": "/dev/none", "LineSettings": "9600,8,N,1"})";
    EXPECT_EQ(Execute("device list"), "0 devices in " + m_file.toStdString() + '\n');

    EXPECT_EQ(Execute(udp.c_str()), "added " + name + '\n');
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Udp.Create", "Udp.Init"));
    EXPECT_EQ(Execute("device list"), name + ": UDP 10.0.0.2:9\n1 devices in " + m_file.toStdString() + '\n');
    RecordingChannels::ForgetCalls();
    ASSERT_TRUE(QDir(m_folder.path()).rename("state", "away"));
    EXPECT_THAT(Execute(udp.c_str()),
                HasSubstr("changed " + name + "; the change can't be stored in " + m_file.toStdString() + '\n'));
    ASSERT_TRUE(QDir(m_folder.path()).rename("away", "state"));
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Udp.Destroy", "Udp.Create", "Udp.Init"));
    RecordingChannels::ForgetCalls();
    EXPECT_THAT(Execute(serial.c_str()), HasSubstr(std::string("changed {") + kId + "}\n"));
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Udp.Destroy", "Com.Create", "Com.Open"));
    EXPECT_EQ(Execute("device list").find(std::string("{") + kId + "}: serial /dev/none 9600,8,N,1\n"), 0U);
    RecordingChannels::ForgetCalls();
    EXPECT_EQ(Execute((std::string("device delete  ") + kId).c_str()), std::string("deleted {") + kId + "}\n");
    EXPECT_THAT(RecordingChannels::CallNames(), ElementsAre("Com.Destroy"));
    EXPECT_EQ(Execute((std::string("device delete ") + kId).c_str()),
              std::string("device delete: no device has the id \"") + kId + "\"\n");
}

TEST_F(ConsoleTest, AnInvalidCommandIsReported)
{
    EXPECT_EQ(Execute(""), "");
    EXPECT_EQ(Execute("list"), "unknown command \"list\"; \"help\" lists the commands\n");
    EXPECT_EQ(Execute("help").find("device list  "), 0U);
    EXPECT_EQ(Execute("device put []"), "device put: not a JSON object: it is an array\n");
    EXPECT_EQ(Execute("device put {").find("device put: not a JSON object: unterminated object"), 0U);
    EXPECT_EQ(Execute("device put {}"), "device put: DevId: is missing or empty\n");
}

TEST_F(ConsoleTest, AnEventIsReportedToTheAppsWithoutAChange)
{
    int scenes = 0;
    std::vector<std::string> resources;
    QObject context;
    const auto note = [&](const char* what) {
        return [&resources, what](const QUuid& id, bool flag) {
            resources.push_back(what + id.toString(QUuid::WithoutBraces).toStdString() + (flag ? " on" : " off"));
        };
    };
    QObject::connect(GetPlayController(), &CPlayController::signalExControlNotifySceneChanged, &context,
                     [&] { ++scenes; });
    QObject::connect(CResourceModel::GetInstance(), &CResourceModel::signalExControlResourceUsedChanged, &context,
                     note("used "));
    QObject::connect(CResourceModel::GetInstance(), &CResourceModel::signalExControlResourceDexumerStateChanged,
                     &context, note("demuxed "));
    const std::string id = kId;

    for (const std::string& event : {std::string("app-displaced"), std::string("scene-changed"),
                                     "resource-used " + id + " false", "resource-demuxed " + id})
        EXPECT_EQ(Execute(("notify " + event).c_str()), "notified: " + event + '\n');
    EXPECT_EQ(s_sentToApps, Command::ReplyTo(Command::AppGone));
    EXPECT_EQ(scenes, 1);
    EXPECT_THAT(resources, ElementsAre("used " + id + " off", "demuxed " + id + " on"));
    for (const char* event : {"scene-changed now", "app-displaced now", "resource-used", "resource-used 7", "nothing"})
        EXPECT_EQ(Execute((std::string("notify ") + event).c_str()).find("notify: expected "), 0U) << event;
    EXPECT_EQ(scenes, 1);
}

TEST(HostLogTest, ChannelsThatStartWhileTheHostReadsTheListAreInIt)
{
    const CHostLog log;
    std::atomic<bool> isRead{false}, done{false};
    std::thread channels([&] {
        WaitUntil([&] { return isRead.load(); });
        for (int k = 0; k < 100; ++k)
            for (const auto kind : {STrafficRecord::Kind::Listening, STrafficRecord::Kind::Failed})
                CTraffic::GetInstance().Publish({kind, TrafficChannel::FP, {}, std::to_string(k)});
        done = true;
    });
    // ThreadSanitizer reports a missing lock.
    while (!done) {
        EXPECT_LE(log.Listening().size() + log.Failures().size(), 200U);
        isRead = true;
    }
    channels.join();

    EXPECT_EQ(log.Listening().back(), "FP 99");
    EXPECT_EQ(log.Failures().back(), "FP can't start: 99");
}

TEST(HostLogTest, InQuietModeOnlyAnswersAndTheHostsWarningsArePrinted)
{
    const QLoggingCategory own("zentravox.files");
    const QLoggingCategory other("other.zentravox.");
    const auto use = [&](CHostLog& log) {
        log.Print("a command\nis shown");
        log.PrintAnswer("answer");
        qCWarning(own) << "disk full";
        qCDebug(own) << "detail";
        qCWarning(other) << "warning";
        qDebug() << "decryptPassword secret";
    };

    EXPECT_EQ(Printed(use), "answer\nTIME host: disk full\n");
    EXPECT_EQ(Printed([&](CHostLog& log) {
                  log.SetQuiet(false);
                  use(log);
              }),
              "TIME a command\\nis shown\nanswer\nTIME host: disk full\nTIME module: detail\nTIME module: warning\n"
              "TIME module: decryptPassword (not shown)\n");
}
