#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/FileType.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/SharedFolder.h"

#include <QTemporaryDir>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;

namespace fs = std::filesystem;

class SharedFolderTest : public SenderTest {
protected:
    std::string Path(const std::string& name = {}) const { return m_folder.path().toStdString() + '/' + name; }

    void Put(const std::string& name) const
    {
        fs::create_directories(fs::path(Path(name)).parent_path());
        EXPECT_TRUE(std::ofstream(Path(name)).is_open()) << name;
    }

    /// Returns the paths that are found below the shared folder.
    std::vector<std::string> Found() const
    {
        std::vector<std::string> names;
        for (const SSharedFile& file : CollectSharedFiles(m_folder.path()))
            names.push_back(file.path.toStdString().substr(Path().size()));
        return names;
    }

    QTemporaryDir m_folder;
};

TEST_F(SharedFolderTest, ASuffixMatchesIfItIsPartOfASuffixList)
{
    const std::pair<int, std::vector<const char*>> cases[] = {
        // A part of a suffix matches, an empty suffix too, and the first list that contains it is used.
        {0, {"a.mp4", "a.MP4", "a.b.vob", "a.m2", "a.p", "a.w", "a.", "a.mp4 ", "mkv"}},
        {1, {"a.wav", "a.mp3", "a.4a"}},
        {2, {"a.jpeg", "a.gif", "a.pn", "a.if"}},
        {8, {"a.pptx", "a.pp"}},
        {15, {"a.xls", "a.xl"}},
        {24, {"a.docx", "a.do"}},
        {23, {"a.pdf", "a.df"}},
        {-1, {"a.txt", "a.mp4x", "a.mp4~", "a.mp4.part", "README"}},
    };

    for (const auto& [type, names] : cases) {
        for (const char* name : names)
            EXPECT_EQ(GetFileResType(name), type) << name;
    }
}

TEST_F(SharedFolderTest, TheWholeTreeIsListedInTheFileSystemsOrder)
{
    for (const char* name : {"z.mp4", "a.mp4", "m/b.png", "m/1/2/3/4/5/deep.wav", "m/notes.txt", "x/.hidden.mp4",
                             ".hidden/a.mp4", "empty.mp4/c.pdf", "Bühne/Übung 1.mp4"})
        Put(name);
    std::vector<std::string> expected;
    for (const auto& entry : fs::recursive_directory_iterator(Path())) {
        const std::string name = entry.path().string().substr(Path().size());
        if (entry.is_regular_file() && name.find("hidden") == std::string::npos && name != "m/notes.txt")
            expected.push_back(name);
    }
    ASSERT_EQ(expected.size(), 6u);

    EXPECT_THAT(Found(), ElementsAreArray(expected));
}

TEST_F(SharedFolderTest, LinksAreFollowedUnlessTheyFormACycle)
{
    Put("a/clip.mp4");
    Put("b/logo.png");
    fs::create_directory_symlink(Path("a"), Path("b/again"));
    fs::create_directory_symlink(Path(), Path("b/up"));
    fs::create_directory_symlink(".", Path("a/self"));
    fs::create_symlink(Path("b/logo.png"), Path("link.png"));
    fs::create_symlink(Path("nowhere.png"), Path("dangling.png"));

    EXPECT_THAT(Found(), UnorderedElementsAreArray({"a/clip.mp4", "b/again/clip.mp4", "b/logo.png", "link.png"}));
}

TEST_F(SharedFolderTest, FilesThatCannotBeReadAreSkipped)
{
    std::vector<std::string> expected = {"a.mp4", "z/c.mp4"};
    for (const char* name : {"a.mp4", "\xff\xfe.mp4", "closed/b.mp4", "z/c.mp4"})
        Put(name);
    fs::permissions(Path("closed"), fs::perms::none);
    if (geteuid() == 0) // root may read everything
        expected.emplace_back("closed/b.mp4");

    EXPECT_THAT(Found(), UnorderedElementsAreArray(expected));

    fs::permissions(Path("closed"), fs::perms::owner_all);
    for (const std::string& folder : {Path("nowhere"), Path("a.mp4"), std::string()})
        EXPECT_TRUE(CollectSharedFiles(QString::fromStdString(folder)).empty()) << folder;
}

TEST_F(SharedFolderTest, TheAppReceivesTheListOfTheCurrentFolder)
{
    SSettings settings;
    settings.sharedFolder = m_folder.path();
    HostModels::SoftwareSetting().Load(settings, {});
    CResourceMsgSender sender(&m_app, nullptr, nullptr, nullptr);
    const auto ask = [&] {
        RecordingChannels::ForgetCalls();
        EXPECT_TRUE(sender.HandleMsg(
            {SenderType::Resource, Command::SharedFolderList, kRemote, Source::FP | Source::CentralControl}));
        return RecordingChannels::Calls();
    };
    const QJsonObject nothing = {{"result", 1}, {"count", 0}};
    EXPECT_THAT(ask(), Answers(To::App, Command::SharedFolderList, nothing));

    Put("page.pdf");
    const QJsonObject page = {{"resPath", QString::fromStdString(Path("page.pdf"))}, {"resType", 23}};
    EXPECT_THAT(ask(), Answers(To::App, Command::SharedFolderList, {{"result", 1}, {"count", 1}, {"0", page}}));

    sender.ModifyAppSharedPath({});
    EXPECT_THAT(ask(), Answers(To::App, Command::SharedFolderList, nothing));
}
