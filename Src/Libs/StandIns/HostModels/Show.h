#pragma once

#include <QString>

/// The open show.
struct SShow {
    QString file;
    QString name;
};

/// Throws CFileError.
SShow ReadShow(const QString& file);
