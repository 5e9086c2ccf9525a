#include "AppServer/FtpSession.h"
#include "AppServer/FtpUploadServer.h"
#include "Support/Waiting.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUrl>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr int kNotPermitted = 550;
constexpr int kBusy = 450;

/// Uploads the bytes to a path below the upload folder with curl; returns curl's exit code.
int Curl(const QByteArray& bytes, const QString& name, const QStringList& more = {})
{
    const QString url = QStringLiteral("ftp://") + kFtpTestAddress + ':' + QString::number(AppServer::kFtpPort) + '/' +
                        QUrl::toPercentEncoding(name, "/");
    QProcess curl;
    curl.start("curl", QStringList{"-sS", "--ftp-create-dirs", "-u", "demo:demo", "-T", "-", url} + more);
    curl.write(bytes);
    curl.closeWriteChannel();
    return curl.waitForFinished(kDeadlineMs) ? curl.exitCode() : -1;
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("(file not found)");
}

QStringList Entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

unsigned int ModeOf(const QString& path)
{
    struct stat entry {};
    stat(path.toUtf8().constData(), &entry);
    return entry.st_mode & 07777;
}

/// Returns the id of the server's process, a child of this process.
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

class FtpUploadTest : public testing::Test {
protected:
    bool StartServer(std::chrono::milliseconds loginLimit = std::chrono::hours(1))
    {
        CFtpUploadServer::SOptions options;
        options.loginLimit = loginLimit;
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
    CNotes uploads;
    CNotes states;
    std::unique_ptr<CFtpUploadServer> server;
};

TEST_F(FtpUploadTest, ACompleteUploadIsReportedWithItsPathAndHasItsBytes)
{
    const std::pair<QString, QByteArray> cases[] = {{"empty.bin", ""}, {"new folder/图 🎆.mov", "\r\n\n\r\xff\xf4"}};
    ASSERT_TRUE(StartServer());

    for (const auto& [name, bytes] : cases) {
        uploads.Clear();
        EXPECT_EQ(Curl(bytes, name), 0);
        EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf(name)));
        EXPECT_EQ(Contents(folder.filePath(name)), bytes);
        EXPECT_EQ(ModeOf(folder.filePath(name)), 0600U);
    }
    EXPECT_EQ(ModeOf(folder.filePath("new folder")), 0700U);
    EXPECT_EQ(Curl(" goes on", "empty.bin", {"--append"}), 0);
    EXPECT_EQ(Contents(folder.filePath("empty.bin")), " goes on");
}

TEST_F(FtpUploadTest, FilesCanNotBeReadDeletedOrRenamedAndNamesAreUtf8)
{
    ASSERT_TRUE(StartServer());
    Curl("kept", "a.bin");
    CFtpSession session;

    for (const char* command : {"RETR a.bin", "DELE a.bin", "RNFR a.bin"})
        EXPECT_EQ(session.Command(command), kNotPermitted) << command;
    EXPECT_EQ(session.Command("STOR gr\xfc\xdf.bin"), 501);

    EXPECT_EQ(session.Command("NOOP"), 200);
    EXPECT_EQ(Contents(folder.filePath("a.bin")), "kept");
}

TEST_F(FtpUploadTest, FilesOutsideTheFolderAreNeitherWrittenNorListed)
{
    QTemporaryDir outside;
    QFile::link(folder.path(), folder.filePath("inside"));
    QFile::link(outside.path(), folder.filePath("link"));
    QFile::link(outside.filePath("new.bin"), folder.filePath("link.bin"));
    ASSERT_TRUE(StartServer());
    CFtpSession session;

    for (const char* command : {"STOR link/a.bin", "STOR link.bin", "CWD link"})
        EXPECT_EQ(session.Command(command), kNotPermitted) << command;
    session.Upload("STOR ../../b.bin", "x");
    session.CloseData();

    EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("b.bin")));
    EXPECT_TRUE(Entries(outside.path()).isEmpty());
    session.Reply();
    for (const char* command : {"LIST", "MLSD", "NLST"}) {
        const QByteArray listed = session.List(command);
        EXPECT_THAT(listed.toStdString(), testing::AllOf(HasSubstr("inside"), HasSubstr("b.bin"))) << command;
        EXPECT_FALSE(listed.contains("link") || listed.contains(folder.path().toUtf8())) << command;
    }
}

TEST_F(FtpUploadTest, AnAbortedUploadIsNotReportedAndDoesNotChangeTheOlderFile)
{
    const std::pair<const char*, void (*)(CFtpSession & uploading)> ways[] = {
        {"data reset",
         [](CFtpSession& uploading) {
             // More than the system buffers: the server is still reading it.
             uploading.Send(QByteArray(20'000'000, 'y'));
             uploading.ResetData();
             EXPECT_EQ(uploading.Reply(), 426);
         }},
        {"control closed first",
         [](CFtpSession& uploading) {
             uploading.CloseControl();
             uploading.CloseData();
         }},
        {"data closed first",
         [](CFtpSession& uploading) {
             uploading.CloseData();
             EXPECT_EQ(uploading.Command("NOOP"), 200);
             uploading.CloseControl();
         }},
        {"abort command",
         [](CFtpSession& uploading) {
             EXPECT_THAT(uploading.Command("ABOR"), testing::AnyOf(225, 426));
             uploading.CloseData();
         }},
        {"quit without waiting",
         [](CFtpSession& uploading) {
             EXPECT_EQ(uploading.Command("QUIT"), 221);
             uploading.CloseControl();
             uploading.CloseData();
         }},
    };
    ASSERT_TRUE(StartServer());
    Curl("older", "a.bin");
    uploads.WaitFor(1);

    for (std::size_t number = 0; number < 2 * std::size(ways); ++number) {
        const auto& [way, abort] = ways[number / 2];
        const char* command = number % 2 == 0 ? "STOR a.bin" : "APPE a.bin";
        SCOPED_TRACE(std::string(way) + ", " + command);
        CFtpSession session;
        session.Upload(command, QByteArray(500'000, 'y'));
        uploads.Clear();

        abort(session);

        // A report of the aborted upload would come before this one's report.
        Curl("x", "later.bin");
        EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("later.bin")));
        EXPECT_EQ(Contents(folder.filePath("a.bin")), "older");
        EXPECT_EQ(Entries(folder.path()), (QStringList{"a.bin", "later.bin"}));
    }
}

TEST_F(FtpUploadTest, AnUploadThatIsAbortedBeforeItsDataConnectionDoesNotAffectTheNextOne)
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

TEST_F(FtpUploadTest, AFileHasOneUploadAtATimeAndAppendingStartsFromTheCompleteOlderFile)
{
    const QByteArray older(10'000'000, 'o'); // several pieces to copy
    QFile::link(folder.filePath("a.bin"), folder.filePath("link.bin"));
    ASSERT_TRUE(StartServer());
    Curl(older, "a.bin");
    CFtpSession first;
    CFtpSession second;
    first.Command("TYPE I");
    first.Command("REST 5");

    first.Upload("STOR a.bin", "first ");
    for (const char* command : {"STOR a.bin", "APPE a.bin", "STOR ./link.bin"})
        EXPECT_EQ(second.Command(command), kBusy) << command;
    EXPECT_EQ(first.Command("STOR b.bin"), kBusy);
    EXPECT_EQ(Contents(folder.filePath("a.bin")), older);
    second.Upload("STOR A.bin", "another file");
    second.CloseData();
    EXPECT_EQ(second.Reply(), 226);
    first.CloseData();
    EXPECT_EQ(first.Reply(), 226);
    second.Upload("APPE a.bin", "second");
    second.CloseData();
    EXPECT_EQ(second.Reply(), 226);

    EXPECT_EQ(Contents(folder.filePath("a.bin")), "ooooofirst " + older.mid(11) + "second");
    EXPECT_EQ(Contents(folder.filePath("A.bin")), "another file");
}

TEST_F(FtpUploadTest, PartialFilesOfAKilledServerAreHiddenAndRemovedButNotThoseOfARunningOne)
{
    const QString left = folder.filePath(".0123456789abcdef.upload");
    const QString running = folder.filePath(".fedcba9876543210.upload");
    for (const QString& part : {left, running})
        EXPECT_TRUE(QFile(part).open(QFile::WriteOnly));
    const int owner = open(running.toUtf8().constData(), O_RDONLY);
    flock(owner, LOCK_EX);
    ASSERT_TRUE(StartServer());

    CFtpSession session;
    EXPECT_FALSE(session.List("NLST").contains("upload"));
    EXPECT_EQ(session.Command("STOR .0123456789abcdef.upload"), kNotPermitted);
    Curl("x", "a.bin");

    EXPECT_EQ(Entries(folder.path()), (QStringList{".fedcba9876543210.upload", "a.bin"}));
    close(owner);
}

TEST_F(FtpUploadTest, NewSessionsReplaceSessionsThatHaveNotLoggedIn)
{
    ASSERT_TRUE(StartServer());
    CFtpSession loggedIn;
    std::vector<std::unique_ptr<QTcpSocket>> sessions(70);
    for (auto& session : sessions) {
        session = std::make_unique<QTcpSocket>();
        session->connectToHost(kFtpTestAddress, AppServer::kFtpPort);
        ASSERT_TRUE(session->waitForReadyRead(kDeadlineMs));
        session->write("USER demo\r\nPASS wrong\r\n");
    }

    CFtpSession late;

    EXPECT_EQ(late.Command("NOOP"), 200);
    loggedIn.Upload("STOR a.bin", "x");
    loggedIn.CloseData();
    EXPECT_EQ(loggedIn.Reply(), 226);
}

TEST_F(FtpUploadTest, ASessionThatHasNotLoggedInIsClosedEvenIfItIsBusy)
{
    ASSERT_TRUE(StartServer(std::chrono::milliseconds(300)));
    CFtpSession loggedIn;
    CFtpSession loggedOut;
    EXPECT_EQ(loggedOut.Command("REIN"), 230);
    QTcpSocket busy;
    busy.connectToHost(kFtpTestAddress, AppServer::kFtpPort);

    EXPECT_TRUE(WaitUntil([&] {
        busy.write("NOOP\r\n");
        return busy.waitForDisconnected(10) || busy.state() == QTcpSocket::UnconnectedState;
    }));
    EXPECT_EQ(loggedOut.Reply(), 421);
    EXPECT_EQ(loggedIn.Command("NOOP"), 200);
}

TEST_F(FtpUploadTest, ASessionThatReadsNoRepliesIsClosed)
{
    ASSERT_TRUE(StartServer());
    QTcpSocket unread;
    unread.setReadBufferSize(1);
    unread.connectToHost(kFtpTestAddress, AppServer::kFtpPort);
    ASSERT_TRUE(unread.waitForConnected(kDeadlineMs));

    EXPECT_TRUE(WaitUntil([&] {
        unread.write(QByteArray("HELP\r\n").repeated(500));
        unread.waitForBytesWritten(10);
        return unread.state() == QTcpSocket::UnconnectedState;
    }));
}

TEST_F(FtpUploadTest, ANewFolderIsCreatedAndReceivesLaterUploadsOfOpenSessionsToo)
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

TEST_F(FtpUploadTest, AServerThatDiedIsRestartedWithTheLatestFolder)
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

TEST_F(FtpUploadTest, AServerThatDoesNotStopIsKilled)
{
    ASSERT_TRUE(StartServer());
    const auto child = ChildPid();
    ASSERT_TRUE(child);
    kill(*child, SIGSTOP);

    server.reset();

    QTcpSocket probe;
    probe.connectToHost(kFtpTestAddress, AppServer::kFtpPort);
    EXPECT_FALSE(probe.waitForConnected(kDeadlineMs));
}

TEST_F(FtpUploadTest, TheServerDoesNotKeepConnectionsOfTheHostOpen)
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
