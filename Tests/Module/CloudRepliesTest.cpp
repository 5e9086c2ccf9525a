#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/CloudReplies.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"

#include <QJsonDocument>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

QJsonObject DataOf(const SChannelCall& call)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(call.text)).object();
}

/// Returns "2 clip #7" for a picture, only the route for other replies.
std::vector<std::string> Kinds(const std::vector<SChannelCall>& calls)
{
    std::vector<std::string> kinds;
    for (const SChannelCall& call : calls) {
        const QJsonObject data = DataOf(call);
        const bool isJpeg = QByteArray::fromBase64(data["data"].toString().toLatin1()).startsWith("\xff\xd8\xff");
        kinds.push_back(std::to_string(call.number) +
                        (isJpeg ? ' ' + (data["type"].toString() + ' ' + data["id"].toString()).toStdString() : ""));
    }
    return kinds;
}

std::string Picture(const char* type, int id)
{
    return std::string("2 ") + type + ' ' + IdText(id).toStdString();
}

} // namespace

class CloudRepliesTest : public SenderTest {
protected:
    std::vector<SChannelCall> AskProject(int code)
    {
        return Ask<CProjectDataMsgSender>(code, {{"cmdType", code}}, Source::CloudControl);
    }
};

TEST(LogTablesTest, RecordsAreWrittenUnchangedAsLines)
{
    const SPlayRecord film = {0, "00:01:30", "10:00", "10:01", "00:01:00", "Sea, and sails"};
    SPlayRecord unknown = film;
    unknown.fileType = 28;
    unknown.fileName = QString::fromUtf8("Ouvertüre");
    SPlayRecord slides = film;
    slides.fileType = 8;
    const SOPRecord remote = {"10:00", "Scene", "Play", "row 1, column 2", 4};
    SOPRecord unknownSource = remote;
    unknownSource.source = 9;

    EXPECT_EQ(PlayLogTable({film, unknown, slides}),
              "LogUI_Serial Number,LogUI_File Name,LogUI_File Type,LogUI_File Duration,LogUI_Start Time,"
              "LogUI_End Time,LogUI_Play Duration\n"
              "1,Sea, and sails,Video,00:01:30,10:00,10:01,00:01:00\n"
              "2,Ouvertüre,,00:01:30,10:00,10:01,00:01:00\n"
              "3,Sea, and sails,PPT,00:01:30,10:00,10:01,00:01:00\n");
    EXPECT_EQ(OperationLogTable({remote, unknownSource}),
              "LogUI_Serial Number,LogUI_Time,LogUI_Module,LogUI_Function,LogUI_Describe\n"
              "1,10:00,Scene,Play,CloudControl,row 1, column 2\n"
              "2,10:00,Scene,Play,row 1, column 2\n");
}

TEST_F(CloudRepliesTest, AnExportSendsClipPicturesThenChapterPicturesThenTheProject)
{
    const SResource first = MakeResource(11, 2);
    const SResource second = MakeResource(12, 2);
    LoadShow(
        {MakeProject(1, {MakeGroup(2, {MakeScene(3), MakeScene(4)}), MakeGroup(5, {MakeScene(6)})}, {first, second})});
    EXPECT_THAT(AskProject(Command::ProjectExport), IsEmpty()) << "a project without a file";

    HostModels::Show().Change([](SShow& show) { show.file = "/shows/Gala.zxc"; });
    const std::vector<SChannelCall> calls = AskProject(Command::ProjectExport);

    EXPECT_THAT(Kinds(calls), ElementsAre(Picture("clip", 11), Picture("clip", 12), Picture("chapter", 3),
                                          Picture("chapter", 4), Picture("chapter", 6), "1"));
    const QJsonObject project = DataOf(calls.back());
    EXPECT_EQ(project["curProjectPath"].toString(), "\\shows\\Project 1.zxc");
    EXPECT_EQ(project["curProjectName"].toString(), "Project 1");
    EXPECT_EQ(project["type"].toString(), "ZentravoxXA");
    const QJsonObject content = QJsonDocument::fromJson(project["content"].toString().toUtf8()).object();
    EXPECT_EQ(content.keys(), (QStringList{"InsertProgramScheduleData", "NormalProgramScheduleData", "Project_Data",
                                           "ResourceModel", "SceneMgrModel", "ScreenData", "StageSceneData"}));
}

TEST_F(CloudRepliesTest, AStoppedAndMutedSystemHasNoChapterAndVolumeZero)
{
    LoadStage({});
    HostModels::Show().Change([](SShow& show) {
        show.effect.volume = 0.5F;
        show.effect.mute = true;
        show.playback.globalState = SPlayback::Stopped;
    });

    const QJsonObject stopped = DataOf(AskProject(Command::SystemInformation).at(0));

    EXPECT_EQ(stopped["volume"].toInt(-1), 0);
    EXPECT_EQ(stopped["curChapterId"].toString("none"), "");
}

TEST(NetworkTest, TheFirstAdapterThatIsUpIsReported)
{
    const auto make = [](const char* description, const char* address) {
        IP_ADAPTER_INFO adapter{};
        qstrncpy(adapter.Description, description, sizeof(adapter.Description));
        qstrncpy(adapter.IpAddressList.IpAddress.String, address, sizeof(adapter.IpAddressList.IpAddress.String));
        qstrncpy(adapter.IpAddressList.IpMask.String, "255.255.255.0", sizeof(adapter.IpAddressList.IpMask.String));
        qstrncpy(adapter.GatewayList.IpAddress.String, "10.0.0.1", sizeof(adapter.GatewayList.IpAddress.String));
        constexpr BYTE kAddress[] = {0x00, 0x1b, 0x44, 0x11, 0x3a, 0xb7, 0xff, 0xff};
        std::copy(std::begin(kAddress), std::end(kAddress), adapter.Address);
        return adapter;
    };
    const auto reported = [](const IP_ADAPTER_INFO& first) {
        QJsonObject network = QJsonDocument::fromJson(Network(&first).Text()).object();
        network.remove("ip"); // depends on the machine
        return network;
    };
    const QJsonObject wifi = {{"type", "wifi"},
                              {"status", "up"},
                              {"subnetMask", "255.255.255.0"},
                              {"gateway", "10.0.0.1"},
                              {"mac", "00-1B-44-11-3A-B7"}};
    QJsonObject lan = wifi;
    lan["type"] = "lan";

    IP_ADAPTER_INFO down = make("Wi-Fi 2", "0.0.0.0");
    EXPECT_EQ(reported(down), QJsonObject());
    IP_ADAPTER_INFO first = make("Fast wi-fi", "10.0.0.7");
    IP_ADAPTER_INFO second = make("Home Wi-Fi", "10.0.0.8");
    down.Next = &first;
    first.Next = &second;
    EXPECT_EQ(reported(down), lan);
    EXPECT_EQ(reported(second), wifi);
}
