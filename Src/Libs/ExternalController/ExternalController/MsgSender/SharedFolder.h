#pragma once

#include <QString>

#include <vector>

struct SSharedFile {
    QString path;
    int type; ///< a ResourceType
};

/// Returns the files in a folder and its subfolders that can be resources, in the order of the file system. Skips
/// folders that can't be read, and links to a folder that contains the link.
std::vector<SSharedFile> CollectSharedFiles(const QString& folder);
