#include "HostModels/PictureFile.h"

#include <QCache>
#include <QDateTime>
#include <QFileInfo>
#include <QImageReader>

#include <mutex>
#include <optional>

namespace {

/// Twice what a good camera takes. A few kilobytes can unpack to far more.
constexpr qint64 kMostFilePixels = 100'000'000;
constexpr int kMostKeptSide = 4096;
/// In KiB: four pictures of the largest kept size, hundreds of usual ones.
constexpr int kCacheCapacity = 256 * 1024;

QImage Decode(const QString& path)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (size.isEmpty() || qint64{size.width()} * size.height() > kMostFilePixels)
        return {};
    if (size.width() > kMostKeptSide || size.height() > kMostKeptSide)
        reader.setScaledSize(size.scaled(kMostKeptSide, kMostKeptSide, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const QImage picture = reader.read();
    // Those that painters are quick with.
    return picture.convertToFormat(picture.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                             : QImage::Format_RGB32);
}

class CPictureCache {
public:
    QImage Read(const QFileInfo& file)
    {
        if (const auto kept = Find(file))
            return *kept;
        // One at a time: many remotes that ask for large pictures at once must not need the memory for all of them.
        const std::lock_guard decoding(m_decodeMutex);
        if (const auto kept = Find(file))
            return *kept;
        QImage picture = Decode(file.filePath());
        const std::lock_guard lock(m_mutex);
        m_pictures.insert(file.filePath(), new SPicture{file.lastModified(), file.size(), picture},
                          1 + static_cast<int>(picture.sizeInBytes() / 1024));
        return picture;
    }

private:
    struct SPicture {
        QDateTime changed;
        qint64 fileSize = 0;
        QImage picture; ///< null: the file has none
    };

    std::optional<QImage> Find(const QFileInfo& file)
    {
        const std::lock_guard lock(m_mutex);
        const SPicture* kept = m_pictures.object(file.filePath());
        if (!kept || kept->changed != file.lastModified() || kept->fileSize != file.size())
            return std::nullopt;
        return kept->picture;
    }

    std::mutex m_decodeMutex;
    std::mutex m_mutex;
    QCache<QString, SPicture> m_pictures{kCacheCapacity};
};

} // namespace

QImage ReadPictureFile(const QString& path)
{
    static CPictureCache cache;
    const QFileInfo file(path);
    return file.isFile() ? cache.Read(file) : QImage();
}
