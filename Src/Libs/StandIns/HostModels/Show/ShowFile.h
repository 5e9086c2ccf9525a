#pragma once

#include "HostModels/Files/Settings.h"
#include "HostModels/Show/Show.h"

/// What a show file holds.
struct SShowFile {
    SShow show;
    SSettings settings;
    QString deviceFile; ///< empty when the show names none
};

/// Throws CFileError.
SShowFile ReadShowFile(const QString& file);
