#pragma once

#include <QString>

/// A path as the cloud shows it, whatever machine the host runs on.
inline QString HostPath(QString path)
{
    return path.replace('/', '\\');
}
