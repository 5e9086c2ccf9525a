#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QSize>

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
