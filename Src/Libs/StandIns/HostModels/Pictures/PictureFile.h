#pragma once

#include <QImage>
#include <QSize>
#include <QString>

struct SPictureFile {
    QImage picture; ///< upright, at most 4096 pixels on a side; null on failure
    QSize size;     ///< upright, as large as it is in the file; invalid on failure
    QString error;  ///< why there is no picture; empty on success
};

/// Reads the picture in a file: one of the formats that apps may upload, of at most 64 megapixels, of which one with
/// more than 32 bits counts twice. Does not wait for a file that is a FIFO or a device: such a file is an error.
/// The results for the files read last are stored until the file changes, failures too. Any thread; one file is decoded
/// at a time, which can take several seconds.
SPictureFile ReadPictureFile(const QString& path);

/// Disabled, decoding that is in progress fails soon and later decoding at once, so that the program can end. Enabled
/// at first. Any thread.
void EnableReadingPictures(bool enabled);
