#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/CloudReplies.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"
#include "Interfaces/DeviceResource.h"
#include "Interfaces/LogModel.h"
#include "Interfaces/PerformanceModel.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ProgramScheduleModel.h"
#include "Interfaces/RenderController.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTranslator>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Encloses every translated text in angle brackets.
class CMarkingTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override
    {
        return qstrcmp(context, "QObject") == 0 ? QStringLiteral("<%1>").arg(text) : QString();
    }
};

class CTestMachine : public CPerformanceModel {
public:
    ZXPerformanceData::SSystemInfo GetSystemInfo() override
    {
        return {"an OS",
                "a CPU",
                "a GPU",
                "a driver",
                "no",
                {{"C", 1000000000000, 2}, {"D", 3, 4}},
                {{"slot 1", 5, 6}, {"slot 2", 7, 8}}};
    }
};

class CTestSchedule : public CProgramScheduleModel {
public:
    explicit CTestSchedule(const char* name) : m_name(name) {}
    QJsonObject SaveScheduleData() override { return {{"schedule", m_name}}; }

private:
    const char* m_name;
};

/// The host's resources, and one that is unknown to the host and thus has no thumbnail. Saves the arguments of a save.
class CTestResources : public CResourceModel {
public:
    QList<CResourceBase> GetAllResNode(bool withHostsOwn, int type) override
    {
        if (withHostsOwn || type != -1)
            return {};
        return QList<CResourceBase>{MakeResource(99, 2).base} + m_hosts.GetAllResNode(false, -1);
    }
    bool GetResourceBaseNode(const QUuid&, CResourceBase&) override { return false; }
    bool GetGroupResourceNode(const QUuid&, CResourceBase&, CGroupResource&) override { return false; }
    bool GetTextResourceNode(const QUuid&, CResourceBase&, CTextResource&) override { return false; }
    QPixmap GetAppThumbnail(const QUuid&) override { return {}; }
    QPixmap GetSharedResourceThumbnail(int) override { return {}; }
    QJsonObject SaveResourceModel(bool withPictures, bool withHostsOwn) override
    {
        return {{"withPictures", withPictures}, {"withHostsOwn", withHostsOwn}};
    }

private:
    CResourceModel& m_hosts = *CResourceModel::GetInstance();
};

/// Remembers its queries. Each query finds one record.
class CTestLog : public CLogModel {
public:
    QList<SPlayRecord> GetPlayLogList() override { return played; }
    QList<SOPRecord> GetOPLogList() override { return operations; }
    void QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending) override
    {
        AddQuery("play" + name.toStdString(), start, end, descending);
        played = {{0, "found", "", "", "", ""}};
    }
    void QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending) override
    {
        AddQuery("operations", start, end, descending);
        operations = {{"found", "", "", "", 0}};
    }

    QList<SPlayRecord> played;
    QList<SOPRecord> operations;
    std::vector<std::string> queries;

private:
    void AddQuery(const std::string& kind, const QDateTime& start, const QDateTime& end, bool descending)
    {
        EXPECT_LT(qAbs(end.msecsTo(QDateTime::currentDateTime())), 10000);
        queries.push_back(kind + ' ' + std::to_string(start.daysTo(end)) + (descending ? " descending" : ""));
    }
};

/// Returns the picture of a message for the cloud; a null picture if the message has another form, type or id.
QImage PictureOf(const SChannelCall& call, const char* type, const QString& id)
{
    const QByteArray text = QByteArray::fromStdString(call.text);
    const QByteArray base64 = QJsonDocument::fromJson(text).object()["data"].toString().toLatin1();
    const QJsonObject expected = {{"data", QString(base64)}, {"type", type}, {"id", id}};
    const bool isPicture =
        call.name == "Cloud.SendData" && call.number == 2 && text == QJsonDocument(expected).toJson();
    return isPicture ? QImage::fromData(QByteArray::fromBase64(base64), "JPG") : QImage();
}

/// More than the difference of a JPEG in the default quality, less than that in a poor one.
constexpr double kJpegDifference = 2;

} // namespace

class CloudRepliesTest : public SenderTest {
protected:
    CloudRepliesTest() { QCoreApplication::setApplicationVersion("9.8.7"); }

    std::vector<SChannelCall> AskProject(int code)
    {
        return Ask<CProjectDataMsgSender>(code, {{"cmdType", code}}, Source::CloudControl);
    }
};

TEST(LogTablesTest, EachTypeAndSourceHasItsNameAndOtherFieldsAreUnchanged)
{
    CMarkingTranslator translator;
    QCoreApplication::installTranslator(&translator);
    const char* const typeNames[] = {"",
                                     "<Video>",
                                     "<Audio>",
                                     "<Picture>",
                                     "<Folder>",
                                     "<Compound>",
                                     "<WebPage>",
                                     "<Capture Card>",
                                     "<Capture Card>",
                                     "PPT",
                                     "<Stream_Stream Media>",
                                     "<Text>",
                                     "NDI",
                                     "<TestChart>",
                                     "<Weather>",
                                     "<Timer>",
                                     "<Excel>",
                                     "<DesktopCopy>",
                                     "<Clock>",
                                     "<Calendar>",
                                     "<Table>",
                                     "<DataBase>",
                                     "<RT_Add EnvironmentInfo>",
                                     "<Subtitle>",
                                     "<Pdf>",
                                     "<Word>",
                                     "<Lottery>",
                                     "<Teleprompter>",
                                     "<Compound>",
                                     ""};
    const char* const sourceNames[] = {"", "<PC>,", "<APP>,", "<FP>,", "<CenterControl>,", "<CloudControl>,", ""};
    std::string played = "<LogUI_Serial Number>,<LogUI_File Name>,<LogUI_File Type>,<LogUI_File Duration>,"
                         "<LogUI_Start Time>,<LogUI_End Time>,<LogUI_Play Duration>\n";
    std::string done = "<LogUI_Serial Number>,<LogUI_Time>,<LogUI_Module>,<LogUI_Function>,<LogUI_Describe>\n";

    QList<SPlayRecord> records;
    for (const char* name : typeNames) {
        records.append({records.size() - 1, "00:01:30", "10:00", "10:01", "00:01:00", "Ouvertüre, 1"});
        played += std::to_string(records.size()) + ",Ouvertüre, 1," + name + ",00:01:30,10:00,10:01,00:01:00\n";
    }
    QList<SOPRecord> operations;
    for (const char* name : sourceNames) {
        operations.append({"10:00", "Scene", "Play", "row 1, column 2", operations.size() - 1});
        done += std::to_string(operations.size()) + ",10:00,Scene,Play," + name + "row 1, column 2\n";
    }

    EXPECT_EQ(PlayLogTable(records), played);
    EXPECT_EQ(OperationLogTable(operations), done);
}

TEST_F(CloudRepliesTest, TheLogsOfSevenDaysAreQueriedIfTheModelHasNone)
{
    const std::string played = PlayLogTable({{0, "found", "", "", "", ""}});
    const std::string operations = OperationLogTable({{"found", "", "", "", 0}});
    for (const bool hasPlayed : {false, true}) {
        for (const bool hasOperations : {false, true}) {
            const auto log = std::make_shared<CTestLog>();
            Doubles().log = log;
            if (hasPlayed)
                log->played = {{0, "found", "", "", "", ""}};
            if (hasOperations)
                log->operations = {{"found", "", "", "", 0}};
            std::vector<std::string> queries;
            if (!hasPlayed)
                queries.emplace_back("play 7");
            if (!hasOperations)
                queries.emplace_back("operations 7");

            EXPECT_THAT(AskProject(Command::Logs), ElementsAre(SentToCloud(3, played), SentToCloud(4, operations)));
            EXPECT_EQ(log->queries, queries);
        }
    }
}

TEST_F(CloudRepliesTest, AnExportSendsClipPicturesThenChapterPicturesThenTheProject)
{
    SProject project = MakeProject(1, {MakeGroup(2, {MakeScene(3), MakeScene(4)}), MakeGroup(5, {MakeScene(6)})},
                                   {MakeResource(11, 2), MakeResource(12, 2)});
    LoadShow({project}, {MakeScreen(7)});
    EXPECT_THAT(AskProject(Command::ProjectExport), IsEmpty()) << "a project without a file";
    CTestResources resources;
    Doubles().resources = &resources;
    Doubles().normalSchedule = std::make_shared<CTestSchedule>("normal");
    Doubles().insertSchedule = std::make_shared<CTestSchedule>("insert");
    HostModels::Show().Change([](SShow& show) { show.file = "/shows/Gala.zxc"; });

    const std::vector<SChannelCall> calls = AskProject(Command::ProjectExport);

    ASSERT_EQ(calls.size(), 6u);
    CSceneMgrModel& scenes = *CSceneMgrModel::GetInstance();
    const auto clip = [](int id) { return MakeResource(id, 2).base.GetThumbnail().toImage(); };
    EXPECT_LT(Difference(PictureOf(calls[0], "clip", IdText(11)), clip(11)), kJpegDifference);
    EXPECT_LT(Difference(PictureOf(calls[1], "clip", IdText(12)), clip(12)), kJpegDifference);
    const std::pair<int, int> chapters[] = {{2, 3}, {2, 4}, {5, 6}};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto [group, scene] = chapters[i];
        EXPECT_LT(Difference(PictureOf(calls[2 + i], "chapter", IdText(scene)),
                             scenes.GetSceneImage(Id(group), Id(scene)).toImage()),
                  kJpegDifference);
    }
    const QJsonObject content = {
        {"Project_Data", Json(R"({"App Name": "Zentravox XA Basic", "App Version": "9.8.7"})")},
        {"ScreenData", CScreenModel::GetInstance()->SaveData()},
        {"NormalProgramScheduleData", Json(R"({"schedule": "normal"})")},
        {"InsertProgramScheduleData", Json(R"({"schedule": "insert"})")},
        {"StageSceneData", GetPlayController()->SaveStageData()},
        {"SceneMgrModel", scenes.SaveSceneMgrModel({})},
        {"ResourceModel", Json(R"({"withPictures": false, "withHostsOwn": false})")}};
    const QJsonObject message = {{"curProjectPath", "\\shows\\Project 1.zxc"},
                                 {"curProjectName", "Project 1"},
                                 {"type", "ZentravoxXA"},
                                 {"content", QString::fromUtf8(QJsonDocument(content).toJson())}};
    EXPECT_THAT(calls[5], SentToCloud(1, QJsonDocument(message).toJson().toStdString()));
}

TEST_F(CloudRepliesTest, APreviewShowsTheStage)
{
    LoadStage({MakeResource(5, 0)}, {MakeMedium(31, MakeResource(5, 0))});

    const auto calls = Ask<CStageMsgSender>(Command::StagePreviewPush, {}, Source::CloudControl);

    ASSERT_EQ(calls.size(), 1u);
    EXPECT_LT(Difference(PictureOf(calls[0], "preview", ""), GetRenderController()->GetStageViewImage()),
              kJpegDifference);
}

TEST_F(CloudRepliesTest, SystemInformationDescribesTheMachineAndTheStage)
{
    SScreen first = MakeScreen(8);
    first.place = QRect(0, 0, 1920, 1080);
    SScreen second = MakeScreen(9);
    second.place = QRect(0, 0, 800, 600);
    LoadShow({MakeProject(1, {MakeGroup(2, {MakeScene(3)})}), MakeProject(4)}, {first, second});
    Doubles().performance = std::make_shared<CTestMachine>();
    Doubles().adapters = {MakeAdapter("Home Wi-Fi", "10.0.0.7")};
    QJsonObject expected = Json(R"({"system": "an OS", "zentravoxType": "ZentravoxXA", "cpu": ["a CPU"],
        "gpu": ["a GPU"], "syncCardConnected": false, "hardDisk": [
            {"name": "C", "total": "1000000000000", "available": "2"}, {"name": "D", "total": "3", "available": "4"}],
        "memory": [{"number": "slot 1", "space": "5", "frequency": "6"},
                   {"number": "slot 2", "space": "7", "frequency": "8"}],
        "screens": [{"name": "Screen 8", "resolution": "1920x1080"}, {"name": "Screen 9", "resolution": "800x600"}],
        "verticalSynchronization": false, "gpuDriveVersion": "a driver", "office": "no", "directX": "",
        "version": "Zentravox XA 2.0 9.8.7", "luminance": 75,
        "projectPathLists": ["\\shows\\Project 1.zxc", "\\shows\\Project 4.zxc"],
        "curProject": "\\shows\\Project 1.zxc", "network": {"type": "wifi", "status": "up", "ip": "10.0.0.5",
            "subnetMask": "255.255.255.0", "gateway": "10.0.0.1", "mac": "00-1B-44-11-3A-B7"}})");
    expected["directX"] = GetDeviceResource()->GetDirectXVersion();
    const struct {
        bool mute;
        int state;
        int volume;
        QString chapter;
    } cases[] = {{false, 0, 50, IdText(3)}, {false, 1, 50, IdText(3)}, {false, 2, 50, ""}, {true, 0, 0, IdText(3)}};

    for (const auto& [mute, state, volume, chapter] : cases) {
        HostModels::Show().Change([mute = mute, state = state](SShow& show) {
            show.file = "/shows/Gala.zxc";
            show.effect.luminance = 0.755F;
            show.effect.volume = 0.5F;
            show.effect.mute = mute;
            show.playback.globalState = state;
        });
        expected["volume"] = volume;
        expected["curChapterId"] = chapter;
        EXPECT_THAT(AskProject(Command::SystemInformation),
                    ElementsAre(SentToCloud(0, QJsonDocument(expected).toJson().toStdString())));
    }
}

TEST_F(CloudRepliesTest, TheFirstAdapterThatIsUpIsReported)
{
    const auto network = [this] {
        const QByteArray text = QByteArray::fromStdString(AskProject(Command::SystemInformation).at(0).text);
        const QJsonObject reported = QJsonDocument::fromJson(text).object()["network"].toObject();
        return (reported["type"].toString() + ' ' + reported["ip"].toString()).toStdString();
    };
    LoadShow({MakeProject(1)});
    EXPECT_EQ(network(), " ") << "no adapters";

    const IP_ADAPTER_INFO down = MakeAdapter("Wi-Fi 2", "0.0.0.0");
    Doubles().adapters = {down, down};
    EXPECT_EQ(network(), " ");
    Doubles().adapters = {down, MakeAdapter("Fast wi-fi", "10.0.0.7"), MakeAdapter("Home Wi-Fi", "10.0.0.8")};
    EXPECT_EQ(network(), "lan 10.0.0.5");
    Doubles().adapters.assign(30, MakeAdapter("Home Wi-Fi", "10.0.0.8"));
    Doubles().resolved = {QHostAddress("fe80::1")};
    EXPECT_EQ(network(), "wifi -");
}
