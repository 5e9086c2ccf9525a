#include "HostModels/Pictures/PictureFile.h"

#include "ExternalController/Common/Vocabulary.h"
#include "Platform/Files.h"

#include <QCache>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <optional>

namespace {

/// More than cameras produce; needs 256 MiB of memory. The limit is necessary because a small file can declare any
/// size.
constexpr qint64 kMaxMegapixels = 64;
constexpr int kUsualBitsPerPixel = 32;
constexpr int kMaxStoredSide = 4096;
/// In KiB: four pictures of the largest stored size, or hundreds of common ones.
constexpr int kCacheCapacity = 256 * 1024;

std::atomic<bool> s_disabled{false};

/// A regular file whose reads fail while reading pictures is disabled. This is the only way to interrupt a decoder.
class CPictureSource : public QFile {
public:
    explicit CPictureSource(const QString& path) : QFile(path)
    {
        const int descriptor = OpenRegularFile(std::filesystem::u8path(path.toStdString()));
        // Unbuffered: a buffer of compressed data could keep a decoder busy for seconds between two reads.
        if (descriptor >= 0)
            open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    }

protected:
    qint64 readData(char* data, qint64 maxSize) override { return s_disabled ? -1 : QFile::readData(data, maxSize); }
};

/// The logical screen size in a GIF header (GIF89a, section 18). Qt decodes in this size, but QImageReader reports the
/// size of the first image only.
QSize GifScreen(QIODevice& file)
{
    const QByteArray header = file.peek(10);
    if (header.size() < 10 || !header.startsWith("GIF8"))
        return {};
    const auto number = [&](int index) {
        return static_cast<unsigned char>(header[index]) | static_cast<unsigned char>(header[index + 1]) << 8;
    };
    return {number(6), number(8)};
}

qint64 DecodedPixels(const QSize& size, QImage::Format format)
{
    const int bits = format == QImage::Format_Invalid ? 0 : QImage::toPixelFormat(format).bitsPerPixel();
    return qint64{size.width()} * size.height() * (bits > kUsualBitsPerPixel ? 2 : 1);
}

SPictureFile Failure(const QString& reason)
{
    return {{}, {}, reason};
}

SPictureFile Decode(const QString& path)
{
    CPictureSource file(path);
    if (!file.isOpen())
        return Failure(QStringLiteral("not a readable regular file"));
    const QSize screen = GifScreen(file);
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    // Refuse other formats of Qt: their declared sizes would need their own checks, and some can read other files.
    if (reader.format().isEmpty() || !ImageFileFilter.contains(QStringLiteral("*.") + reader.format()))
        return Failure(QStringLiteral("not a picture of a supported format"));
    const QSize size = reader.size().expandedTo(screen);
    if (size.isEmpty())
        return Failure(QStringLiteral("the picture is empty"));
    if (DecodedPixels(size, reader.imageFormat()) > kMaxMegapixels * 1'000'000)
        return Failure(QStringLiteral("%1 x %2 pixels are more than %3 megapixels")
                           .arg(size.width())
                           .arg(size.height())
                           .arg(kMaxMegapixels));
    if (size.width() > kMaxStoredSide || size.height() > kMaxStoredSide)
        reader.setScaledSize(size.scaled(kMaxStoredSide, kMaxStoredSide, Qt::KeepAspectRatio).expandedTo({1, 1}));
    const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    const QImage picture = reader.read();
    if (picture.isNull())
        return Failure(reader.errorString());
    // Convert to the formats that QPainter draws fastest.
    const QImage::Format format =
        picture.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    return {picture.convertToFormat(format), isTurned ? size.transposed() : size, {}};
}

class CPictureCache {
public:
    SPictureFile Read(const QFileInfo& file)
    {
        if (const auto stored = Find(file))
            return *stored;
        // Decode one file at a time: this limits the memory when many remotes request large pictures.
        const std::lock_guard decoding(m_decodeMutex);
        if (const auto stored = Find(file))
            return *stored;
        if (s_disabled)
            return Failure(QStringLiteral("the host is shutting down"));
        SPictureFile result = Decode(file.filePath());
        if (s_disabled)
            return result; // may have been interrupted: don't store it
        const int kibibytes = 1 + static_cast<int>(result.picture.sizeInBytes() / 1024);
        const std::lock_guard lock(m_mutex);
        m_pictures.insert(file.filePath(), new SEntry{file.lastModified(), file.size(), result}, kibibytes);
        return result;
    }

private:
    struct SEntry {
        QDateTime changed;
        qint64 fileSize = 0;
        SPictureFile result;
    };

    std::optional<SPictureFile> Find(const QFileInfo& file)
    {
        const std::lock_guard lock(m_mutex);
        const SEntry* entry = m_pictures.object(file.filePath());
        if (!entry || entry->changed != file.lastModified() || entry->fileSize != file.size())
            return std::nullopt;
        return entry->result;
    }

    std::mutex m_decodeMutex;
    std::mutex m_mutex;
    QCache<QString, SEntry> m_pictures{kCacheCapacity};
};

} // namespace

SPictureFile ReadPictureFile(const QString& path)
{
    static CPictureCache cache;
    const QFileInfo file(path);
    return file.isFile() ? cache.Read(file) : Failure(QStringLiteral("not a file"));
}

void EnableReadingPictures(bool enabled)
{
    s_disabled = !enabled;
}
