#include "HostModels/Pictures/PictureFile.h"

#include "Support/Waiting.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

namespace {

bool IsOpen(const QString& path)
{
    for (const QFileInfo& descriptor : QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System)) {
        if (descriptor.symLinkTarget() == path)
            return true;
    }
    return false;
}

} // namespace

TEST(PictureFileTest, DisablingDecodingInterruptsIt)
{
    const QTemporaryDir folder;
    const QString path = QDir(folder.path()).canonicalPath() + "/large.png";
    QImage picture(8000, 8000, QImage::Format_Grayscale8);
    picture.fill(0);
    ASSERT_TRUE(picture.save(path));
    SPictureFile result;
    std::thread decoding([&] { result = ReadPictureFile(path); });

    EXPECT_TRUE(WaitUntil([&] { return IsOpen(path); }));
    EnableReadingPictures(false);
    decoding.join();
    EXPECT_TRUE(result.picture.isNull());
    EXPECT_FALSE(result.error.isEmpty());
    EXPECT_TRUE(ReadPictureFile(path).picture.isNull());

    EnableReadingPictures(true);
    ASSERT_TRUE(QImage(8002, 8001, QImage::Format_Mono).save(path));
    EXPECT_TRUE(ReadPictureFile(path).error.contains("8002 x 8001 pixels"));
    ASSERT_TRUE(picture.copy(0, 0, 5000, 10).save(path));
    result = ReadPictureFile(path);
    EXPECT_EQ(result.picture.size(), QSize(4096, 8));
    EXPECT_EQ(result.size, QSize(5000, 10));
}
