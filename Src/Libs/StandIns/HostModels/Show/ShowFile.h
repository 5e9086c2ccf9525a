#pragma once

#include "HostModels/Files/Settings.h"
#include "HostModels/Show/Show.h"

/// The content of a show file. Docs/ShowFile.md describes the format.
struct SShowFile {
    SShow show;
    SSettings settings;
    QString deviceFile; ///< absolute path; empty if the show names no device file
};

/// Reads and checks a show file.
/// \throws CFileError if the file can't be read or is invalid
SShowFile ReadShowFile(const QString& file);
