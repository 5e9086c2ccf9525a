#include "HostModels/FileTest.h"
#include "HostModels/HostModels.h"
#include "HostModels/JsonFile.h"
#include "HostModels/ShowFile.h"

#include <gmock/gmock.h>

#include <thread>

using testing::HasSubstr;

namespace {

using FilesTest = CFileTest;

SSettings Read(const QString& path)
{
    return ReadSettings(path);
}

} // namespace

TEST_F(FilesTest, ABadFileIsToldWithPlaceAndReason)
{
    EXPECT_EQ(Complaint(ReadShowFile, "{\"name\": 5}"), "name: must be a text");
    EXPECT_EQ(Complaint(ReadShowFile, "[]"), "the top level is no object");
    EXPECT_THAT(Complaint(ReadShowFile, "{\n\"name\": \"a\",\n}"), HasSubstr("line 3: "));
    EXPECT_EQ(Complaint(ReadShowFile, "{\n\"name\": \"a\",\n\"name\": \"b\"}"), "line 3: the key \"name\" comes twice");
    EXPECT_EQ(Complaint(Read, QByteArray(65, '[')), "line 1: nested deeper than 64 levels");
    EXPECT_EQ(Complaint(Read, "{\"appSupport\": \"yes\"}"), "appSupport: must be true or false");
    EXPECT_EQ(Complaint(Read, "{\"fp\": {\"port\": 65536}}"), "fp.port: must be a number from 1 to 65535");
    EXPECT_EQ(Complaint(Read, "{\"ftp\": {\"pasword\": \"\"}}"), "ftp.pasword: there is no such key");
    EXPECT_EQ(Complaint(Read, "{\"users\": {}}"), "users: must be a list");
    EXPECT_EQ(Complaint(Read, "{\"users\": [5]}"), "users[0]: must be an object");
    EXPECT_EQ(Complaint(Read, "{\"users\": [{\"name\": \"a\"}]}"), "users[0].encryptedPassword: is missing or empty");
    EXPECT_THROW(ReadShowFile(m_folder.path()), CFileError);
}

TEST_F(FilesTest, SettingsThatTheFileLeavesOutStay)
{
    SSettings before;
    before.hostName = "kept";

    const SSettings settings = ReadSettings(Write("{\"cloudSupport\": true, \"ftp\": {\"user\": \"u\"}}"), before);

    EXPECT_EQ(settings.hostName, "kept");
    EXPECT_TRUE(settings.cloudSupport);
    EXPECT_EQ(settings.ftpUser, "u");
    EXPECT_EQ(settings.ftpPassword, before.ftpPassword);
}

TEST_F(FilesTest, AnAddedUserIsReadAgainBesideTheChangedNameAndInItsPlace)
{
    const QString changes = m_folder.filePath("changes.json");
    const QString settingsFile =
        Write("{\"users\": [{\"name\": \"anna\", \"encryptedPassword\": \"a\", \"access\": 3}]}");
    CHostSoftwareSetting setting;
    setting.Load(Read(settingsFile), changes);
    setting.SaveHostName("B\xC3\xBChne \"links\"");

    EXPECT_TRUE(setting.SaveUser({"ben", "b", "", 1, 0}));
    EXPECT_TRUE(setting.SaveUser({"anna", "changed", "", 2, 0}));

    CHostSoftwareSetting again;
    again.Load(Read(settingsFile), changes);
    const auto current = again.Current();
    EXPECT_EQ(current->hostName, "B\xC3\xBChne \"links\"");
    ASSERT_EQ(current->users.size(), 2u);
    EXPECT_EQ(current->users[0].password, "changed");
    EXPECT_EQ(current->users[0].access, 2);
    EXPECT_EQ(current->users[1].name, "ben");
}

TEST(SnapshotTest, EditsOfTwoThreadsLoseNothing)
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
