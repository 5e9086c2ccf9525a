#pragma once

#include <QImage>
#include <QSize>
#include <QString>

struct SPictureFile {
    QImage picture; ///< upright, at most 4096 pixels on a side; null on failure
    QSize size;     ///< upright, in pixels, before it is scaled down; invalid on failure
    QString error;  ///< reason of the failure; empty on success
};

/// Reads the picture in a file. The format must be one that apps can upload. The maximum size is 64 megapixels, or 32
/// megapixels with more than 32 bits per pixel. A FIFO or a device is an error; the function doesn't wait for it.
///
/// Results, including failures, are cached until the file changes. Any thread; files are decoded one at a time, which
/// can take several seconds.
SPictureFile ReadPictureFile(const QString& path);

/// Enables or disables ReadPictureFile, so that the program can exit quickly. When disabled, decoding in progress fails
/// soon, and files that are not cached fail at once. Enabled at the start. Any thread.
void EnableReadingPictures(bool enabled);
