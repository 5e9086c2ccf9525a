#pragma once

#include <QImage>
#include <QString>

/// The picture in a file, upright, and no longer than 4096 pixels on a side. Null for a file that isn't there, is no
/// picture or has too many pixels to be one. What was read last is kept until the file changes. Any thread.
QImage ReadPictureFile(const QString& path);
