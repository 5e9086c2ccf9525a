#pragma once

#include <QString>

#include <vector>

struct SSharedFile {
    QString path;
    int type;
};

/// The files below a folder that would be resources, in the order in which the file system lists them. Folders that
/// can't be read are passed over, as are links that lead back to a folder on the way to them.
std::vector<SSharedFile> CollectSharedFiles(const QString& folder);
