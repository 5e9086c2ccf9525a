#include "Platform/Files.h"
#include "Platform/Process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

TEST(RegularFileTest, OnlyRegularFilesAreOpenedAndOpeningDoesNotBlock)
{
    std::string name = (std::filesystem::temp_directory_path() / "RegularFileXXXXXX").string();
    const std::filesystem::path folder = mkdtemp(name.data());
    std::ofstream(folder / "file") << "text";
    std::filesystem::create_symlink("file", folder / "link");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);

    for (const char* opened : {"file", "link"}) {
        const int descriptor = OpenRegularFile(folder / opened);
        char text[8];
        EXPECT_EQ(read(descriptor, text, sizeof text), 4) << opened;
        close(descriptor);
    }
    for (const std::filesystem::path& refused : {folder / "fifo", folder, folder / "missing", {"/dev/null"}})
        EXPECT_EQ(OpenRegularFile(refused), -1) << refused;
    EXPECT_FALSE(FlushToDisk(-1));
    std::filesystem::remove_all(folder);
}

TEST(ProcessTest, TheFolderOfTheProgramIsFound)
{
    static const char here = 0;
    EXPECT_TRUE(std::filesystem::equivalent(CodeFolder(&here) / "PlatformTest", "/proc/self/exe"));
}
