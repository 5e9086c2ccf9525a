#pragma once

#include <QDebug>
#include <QMessageLogger>

/// Returns a stream for one line of debug output. The line has no source file and line number, because log searches
/// expect these exact texts.
inline QDebug DebugLog()
{
    return QMessageLogger().debug();
}
