#pragma once

#include <QString>

/// Returns the path with backslashes instead of slashes: the form that the cloud service gets on every platform, unlike
/// QDir::toNativeSeparators, which depends on the platform.
inline QString ToWindowsSeparators(QString path)
{
    return path.replace('/', '\\');
}
