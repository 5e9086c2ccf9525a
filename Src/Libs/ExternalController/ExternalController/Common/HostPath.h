#pragma once

#include <QString>

/// Returns a path with backslashes, the form that the cloud displays for hosts on every operating system.
inline QString HostPath(QString path)
{
    return path.replace('/', '\\');
}
