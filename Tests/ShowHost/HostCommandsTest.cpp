#include "ShowHost/HostCommands.h"

#include "Support/ControllerTest.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "HostModels/Pictures/PictureFile.h"
#include "Interfaces/PlayController.h"
#include "ShowHost/HostLog.h"
#include "ShowHost/PlayRecorder.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QTimer>

#include <thread>

#include <sys/stat.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class HostCommandsTest : public ControllerTest {
protected:
    HostCommandsTest() : m_commands(Start(), m_log, Path("uploads"))
    {
        QDir(m_folder.path()).mkdir("uploads");
        HostModels::SetResultHandler([this](const SResultData& command) { m_commands.CarryOut(command); });
        QObject::connect(CResourceModel::GetInstance(), &CResourceModel::signalExControlResourceDexumerStateChanged,
                         &m_context, [this](const QUuid& id, bool ready) { m_ready.emplace_back(id, ready); });
        QObject::connect(CResourceModel::GetInstance(), &CResourceModel::signalExControlResourceUsedChanged, &m_context,
                         [this](const QUuid& id, bool used) { m_used.emplace_back(id, used); });
    }

    ~HostCommandsTest() override { HostModels::SetResultHandler({}); }

    QString Path(const QString& name) const { return m_folder.filePath(name); }

    QString MakePicture(const QString& name, const QSize& size = {30, 20}) const
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::red);
        EXPECT_TRUE(picture.save(Path(name)));
        return Path(name);
    }

    static std::vector<CResourceBase> Resources(std::size_t project = 0)
    {
        std::vector<CResourceBase> resources;
        for (const auto& resource : HostModels::Show().Current()->projects[project]->resources)
            resources.push_back(resource->base);
        return resources;
    }

    static void Upload(const QString& path) { RecordingChannels::Callbacks().uploadEnd(path.toStdString()); }

    /// Waits until the last resource of the open project is ready and returns it.
    static CResourceBase LastReady()
    {
        EXPECT_TRUE(WaitUntil([] { return !Resources().empty() && Resources().back().GetResDemuxered(); }));
        return Resources().empty() ? CResourceBase() : Resources().back();
    }

    void Change(int code, const QJsonObject& body)
    {
        m_commands.CarryOut({code & SenderType::kMask, code, true, body, Source::App});
    }

    QTemporaryDir m_folder;
    CHostLog m_log;
    CHostCommands m_commands;
    QObject m_context;
    // Arguments of the host's signals.
    std::vector<std::pair<QUuid, bool>> m_ready;
    std::vector<std::pair<QUuid, bool>> m_used;
};

SScene MakeSceneWithCommands(int id, std::vector<CMediaNode> media = {})
{
    auto properties = std::make_shared<SSceneProperties>();
    properties->id = Id(id);
    properties->exControlCmds.resize(2);
    properties->exControlCmds[1].nTriggerType = SceneTrigger::End;
    SScene scene;
    scene.node = CSceneNode(std::move(properties));
    scene.media = std::move(media);
    return scene;
}

/// Returns the records of the show log for media whose scene started and ended since a time.
std::vector<std::string> PlayedSince(const QDateTime& begin)
{
    HostModels::ShowLog().QueryPlayLog(begin, QDateTime::currentDateTime(), {}, false);
    std::vector<std::string> played;
    for (const SPlayRecord& record : HostModels::ShowLog().GetPlayLogList()) {
        EXPECT_GE(record.endTime, begin.toString(kLogTimeFormat));
        played.push_back(QString("%1 %2, %3, played %4")
                             .arg(record.fileType)
                             .arg(record.fileName, record.fileDuration, record.playDuration)
                             .toStdString());
    }
    return played;
}

} // namespace

TEST_F(HostCommandsTest, OnlyANoticeOfTheUploadServerCreatesAResource)
{
    LoadShow({MakeProject(1)});
    const QString picture = MakePicture("uploads/stage.png");
    const QJsonObject forged = {{"resourcePath", picture}, {"cmdType", Command::ResourceItem}};

    QJsonObject message = forged;
    RecordingChannels::Callbacks().appTcp(AppPacket(Command::ResourceItem, forged));
    RecordingChannels::Callbacks().fp(AppPacket(Command::ResourceItem, forged));
    RecordingChannels::Callbacks().cloud(message);
    EXPECT_THAT(Resources(), IsEmpty());

    Upload(picture);
    EXPECT_EQ(LastReady().GetPath(), picture);
    ASSERT_TRUE(QFile::copy(picture, Path("uploads/film.mp4")));
    Upload(Path("uploads/film.mp4"));
    EXPECT_EQ(LastReady().GetType(), ResourceType::Video);
}

TEST_F(HostCommandsTest, OnlyARegularFileBelowTheUploadFolderBecomesAResource)
{
    LoadShow({MakeProject(1)});
    MakePicture("outside.png");
    MakePicture("uploads/inside.png");
    ASSERT_EQ(mkfifo(Path("uploads/fifo.png").toLocal8Bit().constData(), 0600), 0);
    ASSERT_TRUE(QDir(m_folder.path()).mkdir("uploads/folder.png") && QDir(m_folder.path()).mkdir("uploads.png"));
    ASSERT_TRUE(QFile::link(Path("outside.png"), Path("uploads/out.png")));
    ASSERT_TRUE(QFile::link(Path("uploads/inside.png"), Path("uploads/in.png")));

    for (const char* name : {"uploads/fifo.png", "uploads/folder.png", "uploads/out.png", "uploads/../outside.png",
                             "outside.png", "uploads/missing.png", "uploads", "/dev/fd/2", "/dev/null"})
        Upload(QDir(m_folder.path()).absoluteFilePath(name));
    EXPECT_THAT(Resources(), IsEmpty());

    Upload(Path("uploads/in.png"));
    EXPECT_EQ(LastReady().GetPath(), Path("uploads/inside.png"));
}

TEST_F(HostCommandsTest, AFileOfTheSameNameUpdatesItsResourceInItsProject)
{
    LoadShow({MakeProject(1), MakeProject(2)});
    Upload(MakePicture("uploads/stage.png"));
    const CResourceBase first = LastReady();
    EXPECT_EQ(first.GetResolution(), QSize(30, 20));
    QCoreApplication::processEvents();
    m_ready.clear();

    Upload(MakePicture("uploads/stage.png", {60, 50}));
    Change(Command::SwitchProject, {{"param", 1}});
    EXPECT_EQ(LastReady().GetResolution(), QSize(60, 50));

    EXPECT_EQ(Resources().size(), 1U);
    EXPECT_EQ(Resources()[0].GetId(), first.GetId());
    EXPECT_THAT(Resources(1), IsEmpty());
    QCoreApplication::processEvents();
    EXPECT_THAT(m_ready, ElementsAre(Pair(first.GetId(), false), Pair(first.GetId(), true)));
}

TEST_F(HostCommandsTest, UploadsBecomeReadyInTheirOrder)
{
    LoadShow({MakeProject(1)});
    for (const QString& path :
         {MakePicture("uploads/1.png", {4000, 4000}), MakePicture("uploads/2.png"), MakePicture("uploads/3.png")})
        Upload(path);
    LastReady();
    QCoreApplication::processEvents();
    ASSERT_EQ(m_ready.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(m_ready[i], std::make_pair(Resources()[i].GetId(), true)) << i;
}

TEST_F(HostCommandsTest, AResourcesNameHasNoControlCharacters)
{
    LoadShow({MakeProject(1)});
    Upload(MakePicture(QStringLiteral("uploads/Bühne 🎬\n\x1b[2J\u2028.png")));
    EXPECT_EQ(LastReady().GetName(), QStringLiteral("Bühne 🎬\uFFFD\uFFFD[2J\uFFFD.png"));
}

TEST_F(HostCommandsTest, ARemoteCannotReportALoginOrItsEnd)
{
    const auto forge = [] {
        for (const int code : {Command::Login, Command::AppGone}) {
            QJsonObject message = {{"cmdType", code}};
            RecordingChannels::Callbacks().fp(AppPacket(static_cast<unsigned int>(code)));
            RecordingChannels::Callbacks().cloud(message);
        }
        RecordingChannels::Callbacks().appTcp(AppPacket(Command::AppGone));
        RecordingChannels::Callbacks().appTcp(AppPacket(Command::Login, {{"username", "nobody"}}));
    };

    forge();
    EXPECT_FALSE(HostModels::UserModel().GetConnectState());
    LogIn();
    EXPECT_TRUE(HostModels::UserModel().GetConnectState());
    HostModels::UserModel().SetConnectState(false); // only a login changes this
    forge();
    EXPECT_FALSE(HostModels::UserModel().GetConnectState());
}

TEST_F(HostCommandsTest, ACommandIsAnsweredOnItsChannelAndLoggedWithItsSource)
{
    LoadShow({MakeProject(1, {MakeGroup(2, {MakeScene(3)})})});
    LogIn();
    const QJsonObject body = {{"param", 30}, {"respon", QJsonObject{{"forged", 1}}}};
    const QJsonObject answer = {{"param", 30}, {"result", 0}, {"errorMsg", "SUCCESS"}};
    QJsonObject cloud = {{"cmdType", Command::Volume}, {"param", 30}};
    QJsonObject central = body;
    central["cmdType"] = Command::Volume;
    central["remoteIp"] = "10.0.0.9";
    central["remotePort"] = 4000;
    QJsonObject unknownKeyword = {{"cmd", "stopWnd"}, {"cmdType", 0}, {"remoteIp", "10.0.0.9"}, {"remotePort", 4000}};

    RecordingChannels::Callbacks().appTcp(AppPacket(Command::Volume, body));
    RecordingChannels::Callbacks().fp(AppPacket(Command::Volume, body));
    RecordingChannels::Callbacks().central(central);
    RecordingChannels::Callbacks().cloud(cloud);
    RecordingChannels::Callbacks().central(unknownKeyword);
    RecordingChannels::Callbacks().appTcp(AppPacket(0x477, {{"cmd", "stopWnd"}}));
    RecordingChannels::Callbacks().fp(AppPacket(Command::AppGone));
    m_commands.CarryOut({SenderType::ProjectData, Command::AppGone, false, {}, 0});
    m_commands.CarryOut({SenderType::Scene, Command::ScenePlay, true, {{"sceneCol", 7}}, 0});

    const std::vector<SChannelCall> sent = RecordingChannels::Outgoing();
    ASSERT_EQ(sent.size(), 6U);
    EXPECT_THAT(sent[0], Sent(Command::ReplyTo(Command::Volume), answer));
    EXPECT_THAT(sent[1], SentToFP(Command::Volume, answer));
    EXPECT_THAT(sent[2], SentToCentral("SUCCESS", "10.0.0.9", 4000));
    EXPECT_THAT(sent[3], SentToCentral("COMMAND ERROR", "10.0.0.9", 4000));
    EXPECT_THAT(sent[4], SentCode(Command::ReplyTo(0x477)));
    EXPECT_EQ(sent[5].name, "FP.SendPackage");
    const QDateTime now = QDateTime::currentDateTime();
    HostModels::ShowLog().QueryOPLog(now.addSecs(-60), now.addSecs(60), true);
    std::vector<std::string> records;
    for (const SOPRecord& record : HostModels::ShowLog().GetOPLogList().mid(0, 8))
        records.push_back(QString("%1: %2 %3: %4")
                              .arg(record.source)
                              .arg(record.module, record.function, record.description)
                              .toStdString());
    EXPECT_THAT(records,
                ElementsAre("0: Scene scene-play (0x306): row or col error", "2: Stage app-gone (0x012): COMMAND ERROR",
                            "1: Resource unknown (0x477): COMMAND ERROR", "3: Stage stopWnd (0x000): COMMAND ERROR",
                            "4: Stage volume (0x105): SUCCESS", "3: Stage volume (0x105): SUCCESS",
                            "2: Stage volume (0x105): SUCCESS", "1: Stage volume (0x105): SUCCESS"));
}

TEST_F(HostCommandsTest, TheHostAnswersNoQueryThatASenderHasAnswered)
{
    LoadShow({MakeProject(1)});
    LogIn();

    RecordingChannels::Callbacks().fp(AppPacket(Command::ProjectList));
    RecordingChannels::Callbacks().appTcp(AppPacket(Command::SetHostName, {{"name", "Stage 1"}}));

    const std::vector<SChannelCall> sent = RecordingChannels::Outgoing();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[0].name, "FP.SendPackage");
    EXPECT_THAT(sent[1], SentCode(Command::ReplyTo(Command::SetHostName)));
    EXPECT_THAT(sent[2], SentCode(Command::ReplyTo(Command::HostNameAndVersion)));
}

TEST_F(HostCommandsTest, WhileAProjectIsSwitchedTheCloudCannotPlayAScene)
{
    LoadShow({MakeProject(1), MakeProject(2)});
    std::atomic<int> played{0};
    HostModels::SetResultHandler([&](const SResultData& command) { played += command.nCmdCode == Command::ScenePlay; });
    const auto isIgnored = [&] {
        QJsonObject message = {{"cmdType", Command::ScenePlay}};
        const int before = played;
        RecordingChannels::Callbacks().cloud(message);
        return played == before;
    };
    CGate gate;
    std::atomic<bool> isEditing{false};
    std::thread editor([&] {
        HostModels::Show().Change([&](SShow&) {
            isEditing = true;
            gate.Wait();
        });
    });
    EXPECT_TRUE(WaitUntil([&] { return isEditing.load(); }));
    std::thread channel([&] { Change(Command::SwitchProject, {{"param", 1}}); });
    EXPECT_TRUE(WaitUntil(isIgnored));
    gate.Open();
    channel.join();
    editor.join();
    EXPECT_FALSE(isIgnored());
}

TEST_F(HostCommandsTest, ACommandToCloseTheSoftwareIsAnsweredAndEndsTheEventLoop)
{
    QTimer::singleShot(kTimeout, [] { QCoreApplication::exit(1); });

    QTimer::singleShot(0, [this] { Change(Command::CloseSoftware, {}); });

    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_TRUE(ReadPictureFile(MakePicture("picture.png")).picture.isNull()) << "decoding would delay the end";
    EnableReadingPictures(true);
    EXPECT_THAT(RecordingChannels::Outgoing(),
                ElementsAre(Sent(Command::ReplyTo(Command::CloseSoftware), {{"result", 0}, {"errorMsg", "SUCCESS"}})));
}

TEST_F(HostCommandsTest, AScenesCommandsAreReadFromTheShowInWhichItPlayed)
{
    SResourceProperties film;
    film.id = Id(5);
    film.name = "Film";
    film.type = ResourceType::Video;
    film.duration = 4'452'000;
    const SResource resource = MakeResource(film);
    LoadShow({MakeProject(
                  1, {MakeGroup(10, {MakeSceneWithCommands(11), MakeSceneWithCommands(12, {MakeMedium(6, resource)})})},
                  {resource}),
              MakeProject(2)});
    const QDateTime begin = QDateTime::currentDateTime();
    CNotes sent;
    const auto note = [&](const char* what, SceneTrigger::Trigger trigger) {
        return [&sent, what, trigger](const QUuid& group, const QUuid& scene) {
            std::vector<SSceneExControlCmd> commands;
            CSceneMgrModel::GetInstance()->GetSceneNode(group, scene).GetAllExControlCmd(commands);
            for (const SSceneExControlCmd& command : commands) {
                if (command.nTriggerType == trigger)
                    sent.Add(what + scene.toString(QUuid::WithoutBraces).right(2).toStdString());
            }
        };
    };
    CPlayController* player = GetPlayController();
    QObject::connect(player, &CPlayController::signalSceneStartExControl, &m_context,
                     note("start ", SceneTrigger::Start));
    QObject::connect(player, &CPlayController::signalSceneEndExControl, &m_context, note("end ", SceneTrigger::End));

    Change(Command::ScenePlay, {{"sceneCol", 2}});
    Change(Command::SwitchProject, {{"param", 1}});
    QCoreApplication::processEvents();

    EXPECT_THAT(sent.All(), ElementsAre("end 11", "start 12", "end 12"));
    EXPECT_THAT(m_used, ElementsAre(Pair(Id(5), true), Pair(Id(5), false)));
    EXPECT_THAT(PlayedSince(begin), ElementsAre(std::to_string(film.type) + " Film, 1:14:12, played 0:00:00"));
    EXPECT_EQ(CSceneMgrModel::GetInstance()->GetAllSceneGroupId().size(), 0U) << "afterwards the current show is read";
}

TEST(PlayRecorderTest, ASceneThatPlaysAtTheStartOrAtTheEndIsRecorded)
{
    const QDateTime begin = QDateTime::currentDateTime();
    const SResource title = MakeResource(5, ResourceType::Text);
    const auto loadAndRecord = [&](SPlayback::State state) {
        LoadStage({title}, {MakeMedium(6, title), MakeMedium(7, MakeResource(8, ResourceType::Text))});
        HostModels::Show().Change([&](SShow& show) { show.playback.Enter(state, SPlayback::Clock::now()); });
        const CPlayRecorder recorder;
    };
    const std::size_t before = PlayedSince(begin).size();

    loadAndRecord(SPlayback::Stopped);
    EXPECT_EQ(PlayedSince(begin).size(), before);
    loadAndRecord(SPlayback::Paused);
    ASSERT_EQ(PlayedSince(begin).size(), before + 1) << "the resource of the other medium is missing";
    EXPECT_EQ(PlayedSince(begin).back(), std::to_string(ResourceType::Text) + " Resource 5, 0:00:00, played 0:00:00");
}

TEST_F(HostCommandsTest, AnEventIsReportedAfterTheChangeIsVisibleToReaders)
{
    constexpr int kChanges = 500;
    LoadShow({MakeProject(1, {MakeGroup(10, {MakeScene(11), MakeScene(12)})})});
    std::atomic<int> reported{0};
    int early = 0;
    QEventLoop loop;
    QObject::connect(GetPlayController(), &CPlayController::signalExControlNotifySceneChanged, &m_context,
                     [&](const QUuid&, const QUuid& scene) {
                         early += HostModels::Show().Current()->playback.scene != scene;
                         if (++reported == kChanges)
                             loop.quit();
                     });
    QTimer::singleShot(kTimeout, &loop, &QEventLoop::quit);
    std::thread channel([&] {
        for (int k = 0; k < kChanges; ++k) {
            Change(Command::ScenePlay, {{"sceneCol", k % 2 + 1}});
            if (!WaitUntil([&] { return reported > k; }))
                return;
        }
    });
    // ThreadSanitizer reports a missing lock of the events, which this thread adds while the loop reports others.
    std::thread central([&] {
        for (int k = 0; k < kChanges && reported < kChanges; ++k)
            for (const int control : {2, 0}) // stop and play
                Change(Command::PlayControl, {{"param", control}});
    });
    loop.exec();
    channel.join();
    central.join();

    EXPECT_EQ(reported, kChanges);
    EXPECT_EQ(early, 0);
}
