#include "HostModels/FileTest.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/Files/PasswordCipher.h"
#include "HostModels/HostModels.h"
#include "HostModels/Show/ShowFile.h"
#include "Support/FullDisk.h"

#include <gmock/gmock.h>

#include <thread>

using testing::HasSubstr;

namespace {

using FilesTest = CFileTest;

SSettings Read(const QString& path)
{
    return ReadSettings(path);
}

QByteArray FileOfUser(const QString& encryptedPassword)
{
    return QStringLiteral(R"({"users": [{"name": "anna", "encryptedPassword": "%1", "access": 3}]})")
        .arg(encryptedPassword)
        .toUtf8();
}

} // namespace

TEST_F(FilesTest, AnInvalidFileIsReportedWithPositionAndReason)
{
    EXPECT_EQ(Complaint(ReadShowFile, "{\"name\": 5}"), "name: must be a string");
    EXPECT_EQ(Complaint(ReadShowFile, "[]"), "the top level is not an object");
    EXPECT_THAT(Complaint(ReadShowFile, "{\n\"name\": \"a\",\n}"), HasSubstr("line 3: "));
    EXPECT_EQ(Complaint(ReadShowFile, "{\n\"name\": \"a\",\n\"name\": \"b\"}"), "line 3: duplicate key \"name\"");
    EXPECT_THAT(Complaint(ReadShowFile, "{\"name\": \"a\xff\"}"), HasSubstr("line 1: "));
    EXPECT_EQ(Complaint(Read, QByteArray(65, '[')), "line 1: nested deeper than 64 levels");
    EXPECT_EQ(Complaint(Read, "{\"appSupport\": \"yes\"}"), "appSupport: must be true or false");
    EXPECT_EQ(Complaint(Read, "{\"fp\": {\"port\": 65536}}"), "fp.port: must be a number from 1 to 65535");
    EXPECT_EQ(Complaint(Read, "{\"ftp\": {\"pasword\": \"\"}}"), "ftp.pasword: unknown key");
    EXPECT_EQ(Complaint(Read, "{\"users\": {}}"), "users: must be an array");
    EXPECT_EQ(Complaint(Read, "{\"users\": [5]}"), "users[0]: must be an object");
    EXPECT_EQ(Complaint(Read, "{\"users\": [{\"name\": \"a\"}]}"), "users[0].encryptedPassword: is missing or empty");
    EXPECT_THROW(ReadShowFile(m_folder.path()), CFileError);
}

TEST_F(FilesTest, EverySettingIsReadAndThoseThatTheFileOmitsAreUnchanged)
{
    const QString password = *EncryptPassword("secret");
    const QByteArray file = QStringLiteral(R"({
        "hostName": "name", "appSupport": false, "cloudSupport": true, "resourceFolder": "in", "appId": "app",
        "ftp": {"user": "u", "password": "p"}, "fp": {"address": "fp", "port": 7},
        "stagePreviewMode": 3, "stageColor": "#102030", "stageStreamUrl": "rtsp", "sharedFolder": "/shared",
        "cloud": {"url": "ws", "user": "cu", "account": "ca", "encryptedPassword": "cp", "caFile": "ca.pem",
                  "verify": false},
        "users": [{"name": "anna", "encryptedPassword": "%1", "access": 3}]})")
                                .arg(password)
                                .toUtf8();
    const auto textOf = [&](const SSettings& s) {
        QString text;
        for (const QString& value : {s.hostName, s.resourceFolder, s.appId, s.ftpUser, s.ftpPassword, s.fpAddress,
                                     s.stageColor.name(), s.stageStreamUrl, s.sharedFolder, s.cloudUrl, s.cloudUser,
                                     s.cloudAccount, s.cloudPassword, s.cloudCaFile})
            text += value + ' ';
        for (const SAPPUserNode& user : s.users)
            text += user.name + ' ' + QString::number(user.access) + (user.password == password ? " " : " ?");
        text += QString("%1%2%3 %4 %5")
                    .arg(s.appSupport)
                    .arg(s.cloudSupport)
                    .arg(s.cloudVerifies)
                    .arg(s.fpPort)
                    .arg(s.stagePreviewMode);
        return text.replace(m_folder.path(), "FOLDER").toStdString();
    };
    const std::string expected =
        "name FOLDER/in app u p fp #102030 rtsp /shared ws cu ca cp FOLDER/ca.pem anna 3 010 7 3";

    const SSettings settings = ReadSettings(Write(file));

    EXPECT_EQ(textOf(settings), expected);
    EXPECT_EQ(textOf(ReadSettings(Write("{}"), settings)), expected);
    EXPECT_EQ(textOf(ReadSettings(Write("{}"))), "   demo demo  #000000        101 0 0");
}

TEST_F(FilesTest, AnAddedUserIsReadWithTheChangedNameAndReplacesAUserOfThatName)
{
    const QString changes = m_folder.filePath("changes.json");
    const QString settingsFile = Write(FileOfUser(*EncryptPassword("a")));
    CHostSoftwareSetting setting;
    setting.Load(Read(settingsFile), changes);
    setting.SaveHostName("B\xC3\xBChne \"links\"");

    const QString changed = *EncryptPassword("changed");
    EXPECT_TRUE(setting.SaveUser({"ben", *EncryptPassword("b"), "", 1, 0}));
    EXPECT_TRUE(setting.SaveUser({"anna", changed, "", 2, 0}));

    CHostSoftwareSetting again;
    again.Load(Read(settingsFile), changes);
    const auto current = again.Current();
    EXPECT_EQ(current->hostName, "B\xC3\xBChne \"links\"");
    ASSERT_EQ(current->users.size(), 2u);
    EXPECT_EQ(current->users[0].password, changed);
    EXPECT_EQ(current->users[0].access, 2);
    EXPECT_EQ(current->users[1].name, "ben");
}

TEST_F(FilesTest, AUserWhosePasswordCannotBeDecryptedIsRefused)
{
    QString fault = *EncryptPassword("secret");
    fault[20] = fault[20] == 'x' ? 'y' : 'x';
    QString tooShort = *EncryptPassword("secret");
    tooShort.chop(4);

    for (const QString& password : {fault, tooShort, QStringLiteral("plain"), *EncryptPassword(""),
                                    ' ' + *EncryptPassword("a"), *EncryptPassword("a") + "AAAA"})
        EXPECT_EQ(Complaint(Read, FileOfUser(password)),
                  "users[0].encryptedPassword: the password of \"anna\" can't be decrypted with this build's key pair");
    EXPECT_EQ(Complaint(ReadShowFile, "{\"name\": \"a\", \"settings\": " + FileOfUser("plain") + "}").find("settings."),
              0U);
}

TEST_F(FilesTest, AHostNameIsTruncatedTo255BytesBetweenCharacters)
{
    const QString longName = 'x' + QStringLiteral("ü").repeated(35'000);
    const QString cut = longName.left(128);
    ASSERT_EQ(cut.toUtf8().size(), 255);
    CHostSoftwareSetting setting;

    setting.SaveHostName(longName);
    EXPECT_EQ(setting.LoadHostName(), cut);
    setting.SaveHostName('y' + longName);
    EXPECT_EQ(setting.LoadHostName(), 'y' + longName.left(127));
    EXPECT_EQ(Read(Write("{\"hostName\": \"" + longName.toUtf8() + "\"}")).hostName, cut);
}

TEST_F(FilesTest, AFullDiskDoesNotChangeStoredSettingsAndLaterOnesAreSavedWhenThereIsSpace)
{
    const QString changes = m_folder.filePath("changes.json");
    CHostSoftwareSetting setting;
    setting.Load({}, changes);
    const SAPPUserNode anna{"anna", *EncryptPassword("a"), "", 1, 0};
    ASSERT_TRUE(setting.SaveUser(anna));
    EXPECT_EQ(QFile::permissions(changes) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());

    {
        const CFullDisk full;
        setting.SaveHostName("Stage left");
        EXPECT_FALSE(setting.SaveUser({"ben", *EncryptPassword("b"), "", 1, 0}));
    }

    EXPECT_EQ(setting.LoadHostName(), "Stage left");
    EXPECT_EQ(Read(changes).users.size(), 1U);
    EXPECT_TRUE(setting.SaveUser(anna));
    EXPECT_EQ(Read(changes).hostName, "Stage left");
    EXPECT_EQ(Read(changes).users.size(), 2U);
}

TEST(SnapshotTest, EditsOfTwoThreadsAreAllApplied)
{
    constexpr int kEdits = 2000;
    CSnapshot<int> snapshot;
    const auto edit = [&] {
        for (int i = 0; i < kEdits; ++i)
            snapshot.Change([](int& number) { ++number; });
    };

    std::thread editor(edit);
    edit();
    editor.join();

    EXPECT_EQ(*snapshot.Read(), 2 * kEdits);
}
