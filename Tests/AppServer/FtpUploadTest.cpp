#include "AppServer/FtpSession.h"
#include "AppServer/FtpUploadServer.h"
#include "Support/Waiting.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr int kNotPermitted = 550;
constexpr char kHostRole[] = "FTP_UPLOAD_TEST_HOST_FOLDER";

/// What a callback told, in order.
class CTold {
public:
    void Add(std::string entry)
    {
        const std::lock_guard lock(m_mutex);
        m_entries.push_back(std::move(entry));
        m_changed.notify_all();
    }

    /// All entries once there are this many, or those there are at the deadline.
    std::vector<std::string> WaitFor(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::milliseconds(kDeadlineMs), [&] { return m_entries.size() >= count; });
        return m_entries;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_entries;
};

QString UrlOf(const QString& name)
{
    return QStringLiteral("ftp://") + kFtpTestAddress + ':' + QString::number(AppServer::kFtpPort) + '/' +
           QUrl::toPercentEncoding(name, "/");
}

/// Uploads the bytes under a name below the upload folder; curl's exit code.
int Curl(const QByteArray& bytes, const QString& name, const QStringList& more = {})
{
    QProcess curl;
    curl.start("curl", QStringList{"-sS", "--ftp-create-dirs", "-u", "demo:demo", "-T", "-", UrlOf(name)} + more);
    curl.write(bytes);
    curl.closeWriteChannel();
    return curl.waitForFinished(kDeadlineMs) ? curl.exitCode() : -1;
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("(no such file)");
}

QStringList Entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

/// The server's process among this one's children.
std::optional<pid_t> ChildPid()
{
    for (const QString& name : QDir("/proc").entryList({"[1-9]*"}, QDir::Dirs)) {
        const QByteArray stat = Contents("/proc/" + name + "/stat");
        if (stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(1).toInt() == getpid() &&
            Contents("/proc/" + name + "/cmdline").contains("FtpUploadServer.py"))
            return name.toInt();
    }
    return {};
}

bool IsListening()
{
    QTcpSocket probe;
    probe.connectToHost(kFtpTestAddress, AppServer::kFtpPort);
    return probe.waitForConnected(kDeadlineMs);
}

class FtpUploadTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder.isValid()); }

    bool StartServer()
    {
        CFtpUploadServer::SOptions options;
        options.port = AppServer::kFtpPort;
        options.firstPassivePort = AppServer::kFirstPassivePort;
        options.lastPassivePort = AppServer::kLastPassivePort;
        options.listenAddress = kFtpTestAddress;
        options.user = options.password = "demo";
        options.folder = folder.path();
        server = std::make_unique<CFtpUploadServer>(
            options, [this](std::string path) { uploads.Add(std::move(path)); },
            [this](bool listening, const std::string& reason) { states.Add(listening ? "listening" : reason); });
        return server->Start();
    }

    std::string PathOf(const QString& name) const { return folder.filePath(name).toStdString(); }

    QTemporaryDir folder;
    CTold uploads;
    CTold states;
    std::unique_ptr<CFtpUploadServer> server;
};

struct SUpload {
    const char* name;
    QByteArray bytes;
};

class FtpUploadNameTest : public FtpUploadTest, public testing::WithParamInterface<SUpload> {};

TEST_P(FtpUploadNameTest, ACompleteUploadIsReportedWithItsPathAndHasItsBytes)
{
    ASSERT_TRUE(StartServer());
    const QString name = QString::fromUtf8(GetParam().name);

    EXPECT_EQ(Curl(GetParam().bytes, name), 0);

    EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf(name)));
    EXPECT_EQ(Contents(folder.filePath(name)), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Names, FtpUploadNameTest,
                         testing::Values(SUpload{"line ends.bin", "\r\n\n\r\xff\xf4 bytes \r"},
                                         SUpload{"empty.bin", ""}, SUpload{"媒体 素材.mp4", "cjk"},
                                         SUpload{"show 🎆.png", "emoji"},
                                         SUpload{"new folder/图/large.mov", QByteArray(3'000'000, 'x')}),
                         [](const auto& instance) { return "Row" + std::to_string(instance.index); });

TEST_F(FtpUploadTest, AppendingGoesOnWithTheFile)
{
    ASSERT_TRUE(StartServer());
    Curl("begun ", "a.bin");

    EXPECT_EQ(Curl("and ended", "a.bin", {"--append"}), 0);

    EXPECT_THAT(uploads.WaitFor(2), ElementsAre(PathOf("a.bin"), PathOf("a.bin")));
    EXPECT_EQ(Contents(folder.filePath("a.bin")), "begun and ended");
}

TEST_F(FtpUploadTest, AWrongPasswordIsRefused)
{
    constexpr int kLoginDenied = 67;
    ASSERT_TRUE(StartServer());

    EXPECT_EQ(Curl("x", "a.bin", {"-u", "demo:wrong"}), kLoginDenied);

    EXPECT_TRUE(Entries(folder.path()).isEmpty());
}

TEST_F(FtpUploadTest, FilesCanNotBeReadDeletedOrRenamed)
{
    ASSERT_TRUE(StartServer());
    Curl("kept", "a.bin");
    CFtpSession session;

    EXPECT_EQ(session.Command("RETR a.bin"), kNotPermitted);
    EXPECT_EQ(session.Command("DELE a.bin"), kNotPermitted);
    EXPECT_EQ(session.Command("RNFR a.bin"), kNotPermitted);

    EXPECT_EQ(Contents(folder.filePath("a.bin")), "kept");
}

TEST_F(FtpUploadTest, ANameThatIsNotUtf8IsRefusedAndTheSessionGoesOn)
{
    ASSERT_TRUE(StartServer());
    CFtpSession session;

    EXPECT_EQ(session.Command("STOR gr\xfc\xdf.bin"), 501);
    EXPECT_EQ(session.Command("NOOP"), 200);
}

TEST_F(FtpUploadTest, NothingLandsOutsideTheFolder)
{
    QTemporaryDir outside;
    QFile::link(outside.path(), folder.filePath("link"));
    QFile::link(outside.filePath("new.bin"), folder.filePath("link.bin"));
    ASSERT_TRUE(StartServer());
    CFtpSession session;

    EXPECT_EQ(session.Command("STOR link/a.bin"), kNotPermitted);
    EXPECT_EQ(session.Command("STOR link.bin"), kNotPermitted);
    EXPECT_EQ(session.Command("CWD link"), kNotPermitted);
    session.Upload("STOR ../../b.bin", "x");
    session.CloseData();

    EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("b.bin")));
    EXPECT_TRUE(Entries(outside.path()).isEmpty());
}

struct SAbort {
    const char* name;
    void (*act)(CFtpSession& uploading);

    friend std::ostream& operator<<(std::ostream& out, const SAbort& abort) { return out << abort.name; }
};

class FtpUploadAbortTest : public FtpUploadTest {
protected:
    /// The one upload that is reported beside the older file's own comes after the aborted one.
    void ExpectOnlyTheOlderFileAndALaterOne()
    {
        Curl("x", "later.bin");
        EXPECT_THAT(uploads.WaitFor(2), ElementsAre(PathOf("a.bin"), PathOf("later.bin")));
        EXPECT_EQ(Contents(folder.filePath("a.bin")), "older");
        EXPECT_EQ(Entries(folder.path()), (QStringList{"a.bin", "later.bin"}));
    }
};

class FtpUploadAbortWaysTest : public FtpUploadAbortTest, public testing::WithParamInterface<SAbort> {};

TEST_P(FtpUploadAbortWaysTest, AnAbortedUploadIsNotReportedAndLeavesTheOlderFileAlone)
{
    ASSERT_TRUE(StartServer());
    Curl("older", "a.bin");
    CFtpSession session;
    session.Upload("STOR a.bin", QByteArray(500'000, 'y'));

    GetParam().act(session);

    ExpectOnlyTheOlderFileAndALaterOne();
}

const SAbort kAborts[] = {
    {"DataReset",
     [](CFtpSession& uploading) {
         // More than the system buffers: the server is in the middle of it.
         uploading.Send(QByteArray(20'000'000, 'y'));
         uploading.ResetData();
         EXPECT_EQ(uploading.Reply(), 426);
     }},
    {"ControlClosedFirst",
     [](CFtpSession& uploading) {
         uploading.CloseControl();
         uploading.CloseData();
     }},
    {"DataClosedFirst",
     [](CFtpSession& uploading) {
         uploading.CloseData();
         EXPECT_EQ(uploading.Command("NOOP"), 200);
         uploading.CloseControl();
     }},
    {"AbortCommand",
     [](CFtpSession& uploading) {
         EXPECT_THAT(uploading.Command("ABOR"), testing::AnyOf(225, 426));
         uploading.CloseData();
     }},
    {"QuitWithoutWaiting",
     [](CFtpSession& uploading) {
         EXPECT_EQ(uploading.Command("QUIT"), 221);
         uploading.CloseControl();
         uploading.CloseData();
     }},
};

INSTANTIATE_TEST_SUITE_P(Ways, FtpUploadAbortWaysTest, testing::ValuesIn(kAborts),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(FtpUploadAbortTest, AnUploadWhoseClientIsKilledIsNotReportedAndLeavesTheOlderFileAlone)
{
    ASSERT_TRUE(StartServer());
    Curl("older", "a.bin");
    QProcess curl;
    curl.setReadChannel(QProcess::StandardError);
    curl.start("curl", {"-v", "-u", "demo:demo", "-T", "-", UrlOf("a.bin")});
    curl.write(QByteArray(500'000, 'y'));
    QByteArray said;
    while (!said.contains("< 125") && !said.contains("< 150")) {
        ASSERT_TRUE(curl.waitForReadyRead(kDeadlineMs));
        said += curl.readAll();
    }

    curl.kill();
    curl.waitForFinished();

    ExpectOnlyTheOlderFileAndALaterOne();
}

TEST_F(FtpUploadTest, AnUploadGivenUpBeforeItsDataConnectionIsNotTakenUpByTheNextOne)
{
    ASSERT_TRUE(StartServer());
    CFtpSession session;
    session.Command("EPSV");
    session.Command("STOR a.bin");
    session.Command("ABOR");

    session.OpenData();
    session.CloseData();

    Curl("x", "later.bin");
    EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("later.bin")));
    EXPECT_EQ(Entries(folder.path()), QStringList{"later.bin"});
}

TEST_F(FtpUploadTest, TwoUploadsOfOneNameAtOnceDoNotMix)
{
    ASSERT_TRUE(StartServer());
    CFtpSession first;
    CFtpSession second;

    first.Upload("STOR a.bin", "first begins ");
    second.Upload("STOR a.bin", "second begins ");
    first.Send("and ends");
    second.Send("and ends");
    first.CloseData();
    EXPECT_EQ(first.Reply(), 226);
    EXPECT_EQ(Contents(folder.filePath("a.bin")), "first begins and ends");
    second.CloseData();
    EXPECT_EQ(second.Reply(), 226);

    EXPECT_EQ(Contents(folder.filePath("a.bin")), "second begins and ends");
    EXPECT_THAT(uploads.WaitFor(2), ElementsAre(PathOf("a.bin"), PathOf("a.bin")));
}

TEST_F(FtpUploadTest, ANewFolderIsMadeAndTakesLaterUploadsOfOpenSessionsToo)
{
    const QString next = folder.filePath("next/folder");
    ASSERT_TRUE(StartServer());
    CFtpSession session;
    session.Upload("STOR begun before.bin", "x");

    server->SetFolder(next);
    ASSERT_TRUE(WaitUntil([&] { return QDir(next).exists(); }));
    session.CloseData();
    EXPECT_EQ(session.Reply(), 226);
    session.Upload("STOR same session.bin", "x");
    session.CloseData();
    EXPECT_EQ(session.Reply(), 226);
    Curl("x", "later session.bin");

    EXPECT_THAT(uploads.WaitFor(3), ElementsAre(PathOf("begun before.bin"), PathOf("next/folder/same session.bin"),
                                                PathOf("next/folder/later session.bin")));
}

TEST_F(FtpUploadTest, ATakenPortIsToldAndAnotherStartSucceedsOnceItIsFree)
{
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress(kFtpTestAddress), AppServer::kFtpPort));

    EXPECT_FALSE(StartServer());
    other.close();
    EXPECT_TRUE(server->Start());

    EXPECT_THAT(states.WaitFor(2),
                ElementsAre(HasSubstr("127.0.0.21 port 25521: Address already in use"), "listening"));
}

TEST_F(FtpUploadTest, AServerThatDiedIsStartedAgainWithTheLatestFolder)
{
    ASSERT_TRUE(StartServer());
    server->SetFolder(folder.filePath("next"));
    const auto child = ChildPid();
    ASSERT_TRUE(child);

    kill(*child, SIGKILL);

    EXPECT_THAT(states.WaitFor(3), ElementsAre("listening", HasSubstr("killed"), "listening"));
    Curl("x", "a.bin");
    EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("next/a.bin")));
}

TEST_F(FtpUploadTest, AServerThatDoesNotEndWhenToldIsKilled)
{
    ASSERT_TRUE(StartServer());
    const auto child = ChildPid();
    ASSERT_TRUE(child);
    kill(*child, SIGSTOP);

    server.reset();

    EXPECT_FALSE(IsListening());
}

TEST_F(FtpUploadTest, TheServerEndsWhenItsHostIsKilled)
{
    if (qEnvironmentVariableIsSet(kHostRole)) {
        // This is the host that the test below kills; the server's state goes to its stdout.
        ASSERT_TRUE(StartServer());
        puts(states.WaitFor(1).front().c_str());
        fflush(stdout);
        states.WaitFor(2);
        return;
    }
    QProcess host;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(kHostRole, "1");
    host.setProcessEnvironment(environment);
    host.start(QCoreApplication::applicationFilePath(),
               {QStringLiteral("--gtest_filter=FtpUploadTest.TheServerEndsWhenItsHostIsKilled")});
    QByteArray said;
    while (!said.contains("listening") && host.waitForReadyRead(kDeadlineMs))
        said += host.readAllStandardOutput();
    ASSERT_TRUE(IsListening());

    host.kill();
    host.waitForFinished();

    EXPECT_TRUE(WaitUntil([] { return !IsListening(); }));
}

TEST_F(FtpUploadTest, TheServerHoldsNoConnectionOfTheHostOpen)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_TRUE(StartServer());

    close(ends[0]);

    pollfd peer{ends[1], POLLIN, 0};
    EXPECT_EQ(poll(&peer, 1, kDeadlineMs), 1);
    close(ends[1]);
}

} // namespace
