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

#include <csignal>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr int kNotPermitted = 550;
/// Uploads the bytes under a name below the upload folder; curl's exit code.
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

class FtpUploadTest : public testing::Test {
protected:
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
    }
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

TEST_F(FtpUploadTest, NothingLandsOutsideTheFolder)
{
    QTemporaryDir outside;
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
}

TEST_F(FtpUploadTest, AnAbortedUploadIsNotReportedAndLeavesTheOlderFileAlone)
{
    const std::pair<const char*, void (*)(CFtpSession & uploading)> ways[] = {
        {"data reset",
         [](CFtpSession& uploading) {
             // More than the system buffers: the server is in the middle of it.
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

    for (const auto& [way, abort] : ways) {
        SCOPED_TRACE(way);
        CFtpSession session;
        session.Upload("STOR a.bin", QByteArray(500'000, 'y'));
        uploads.WaitFor(1);
        uploads.Clear();

        abort(session);

        // Which is reported after what the aborted one would be.
        Curl("x", "later.bin");
        EXPECT_THAT(uploads.WaitFor(1), ElementsAre(PathOf("later.bin")));
        EXPECT_EQ(Contents(folder.filePath("a.bin")), "older");
        EXPECT_EQ(Entries(folder.path()), (QStringList{"a.bin", "later.bin"}));
    }
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

    QTcpSocket probe;
    probe.connectToHost(kFtpTestAddress, AppServer::kFtpPort);
    EXPECT_FALSE(probe.waitForConnected(kDeadlineMs));
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
