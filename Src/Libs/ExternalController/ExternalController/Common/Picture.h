#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QSize>

#include <string>

/// The size of the thumbnails in the app's lists, in pixels.
constexpr QSize kThumbnailSize(320, 180);

/// Scales a QImage or QPixmap to kThumbnailSize without keeping its aspect ratio. Returns a null picture for a null
/// one.
template <class Picture>
Picture ToThumbnail(const Picture& picture)
{
    return picture.isNull() ? picture : picture.scaled(kThumbnailSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

/// Encodes a QImage or QPixmap in a file format such as "jpg" with the encoder's default quality. Returns an empty
/// array for a null picture.
template <class Picture>
QByteArray Encode(const Picture& picture, const char* format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, format);
    return buffer.data();
}

/// Returns the base64 text (RFC 4648, section 4; padded, without line breaks) of the bytes.
///
/// \param length number of bytes
std::string Base64Encode(const char* data, unsigned int length);
