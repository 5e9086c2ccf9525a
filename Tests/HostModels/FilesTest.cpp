#include "HostModels/FileTest.h"
#include "HostModels/HostModels.h"
#include "HostModels/JsonFile.h"
#include "HostModels/ShowFile.h"

#include <gmock/gmock.h>

#include <atomic>
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
    EXPECT_EQ(Complaint(ReadShowFile, "{}"), "name: is missing or empty");
    EXPECT_EQ(Complaint(ReadShowFile, "{\"name\": 5}"), "name: must be a text");
    EXPECT_EQ(Complaint(ReadShowFile, "{\"name\": \"a\", \"nmae\": 1}"), "nmae: there is no such key");
    EXPECT_EQ(Complaint(ReadShowFile, "[]"), "the top level is no object");
    EXPECT_THAT(Complaint(ReadShowFile, "{\n\"name\": \"a\",\n}"), HasSubstr("line 3: "));
    EXPECT_EQ(Complaint(Read, "{\"appSupport\": \"yes\"}"), "appSupport: must be true or false");
    EXPECT_EQ(Complaint(Read, "{\"ftp\": []}"), "ftp: must be an object");
    EXPECT_EQ(Complaint(Read, "{\"fp\": {\"port\": 65536}}"), "fp.port: must be a number from 1 to 65535");
    EXPECT_EQ(Complaint(Read, "{\"fp\": {\"port\": \"25510\"}}"), "fp.port: must be a number");
    EXPECT_EQ(Complaint(Read, "{\"ftp\": {\"pasword\": \"\"}}"), "ftp.pasword: there is no such key");
}

TEST_F(FilesTest, AFileThatCannotBeReadIsTold)
{
    const QString missing = m_folder.filePath("missing.zxc");

    EXPECT_THROW(ReadShowFile(missing), CFileError);
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

TEST_F(FilesTest, AChangedHostNameIsKeptAndReadAgain)
{
    const QString changes = m_folder.filePath("settings.json");
    CHostSoftwareSetting setting;
    setting.Load({}, changes);

    setting.SaveHostName("B\xC3\xBChne \"links\"");

    EXPECT_EQ(setting.LoadHostName(), "B\xC3\xBChne \"links\"");
    EXPECT_EQ(ReadSettings(changes).hostName, setting.LoadHostName());
}

TEST_F(FilesTest, AHostNameThatCannotBeKeptHoldsUntilTheEnd)
{
    CHostSoftwareSetting setting;
    setting.Load({}, m_folder.filePath("no such folder/settings.json"));

    setting.SaveHostName("here");

    EXPECT_EQ(setting.LoadHostName(), "here");
}

TEST_F(FilesTest, AnAddedUserIsReadAgainBesideTheChangedNameAndInItsPlace)
{
    const QString changes = m_folder.filePath("settings.json");
    const QString settingsFile =
        Write("{\"users\": [{\"name\": \"anna\", \"encryptedPassword\": \"a\", \"access\": 3}]}");
    CHostSoftwareSetting setting;
    setting.Load(ReadSettings(settingsFile), changes);
    setting.SaveHostName("name");

    EXPECT_TRUE(setting.SaveUser({"ben", "b", "", 1, 0}));
    EXPECT_TRUE(setting.SaveUser({"anna", "changed", "", 2, 0}));

    CHostSoftwareSetting again;
    again.Load(ReadSettings(settingsFile), changes);
    const auto current = again.Current();
    EXPECT_EQ(current->hostName, "name");
    ASSERT_EQ(current->users.size(), 2u);
    EXPECT_EQ(current->users[0].password, "changed");
    EXPECT_EQ(current->users[0].access, 2);
    EXPECT_EQ(current->users[1].name, "ben");
}

TEST_F(FilesTest, ABadUserIsToldWithItsPlace)
{
    EXPECT_EQ(Complaint(Read, "{\"users\": {}}"), "users: must be a list");
    EXPECT_EQ(Complaint(Read, "{\"users\": [5]}"), "users[0]: must be an object");
    EXPECT_EQ(Complaint(Read, "{\"users\": [{\"name\": \"a\"}]}"), "users[0].encryptedPassword: is missing or empty");
    EXPECT_EQ(Complaint(Read, "{\"users\": [{\"name\": \"a\", \"encryptedPassword\": \"b\", \"access\": 1.5}]}"),
              "users[0].access: must be a whole number");
}

TEST(HostUserModelTest, TheFirstUserIsTheOneForPairing)
{
    CHostUserModel users;
    SAPPUserNode node;
    EXPECT_FALSE(users.GetFirstUserForFPQRCode(node));

    users.Load({{"zoe", "z", "", 1, 0}, {"anna", "a", "", 2, 0}});

    EXPECT_TRUE(users.GetFirstUserForFPQRCode(node));
    EXPECT_EQ(node.name, "zoe");
}

TEST(SnapshotTest, AReaderSeesOneStateAndEditsLoseNothing)
{
    struct SPair {
        int first = 0;
        int second = 0;
    };
    constexpr int kEdits = 2000;
    CSnapshot<SPair> snapshot;
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!done) {
            const auto pair = snapshot.Read();
            torn += pair->first != pair->second;
        }
    });
    const auto edit = [&] {
        for (int i = 0; i < kEdits; ++i) {
            snapshot.Change([](SPair& pair) {
                ++pair.first;
                ++pair.second;
            });
        }
    };

    std::thread editor(edit);
    edit();
    editor.join();
    done = true;
    reader.join();

    EXPECT_EQ(torn, 0);
    EXPECT_EQ(snapshot.Read()->first, 2 * kEdits);
}
