#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QSize>

/// What apps show in their lists.
constexpr QSize kThumbnailSize(320, 180);

/// A QImage or QPixmap, stretched to the thumbnail's shape whatever its own. A null one stays null.
template <class Picture>
Picture ToThumbnail(const Picture& picture)
{
    return picture.isNull() ? picture : picture.scaled(kThumbnailSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}

/// A QImage or QPixmap in a file format such as "jpg", at the encoder's default quality. Empty for a null one.
template <class Picture>
QByteArray Encode(const Picture& picture, const char* format)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, format);
    return buffer.data();
}
