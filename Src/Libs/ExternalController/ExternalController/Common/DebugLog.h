#pragma once

#include <QDebug>
#include <QMessageLogger>

/// The module's debug output. It carries no file and line: the texts are fixed and people search for them.
inline QDebug DebugLog()
{
    return QMessageLogger().debug();
}
