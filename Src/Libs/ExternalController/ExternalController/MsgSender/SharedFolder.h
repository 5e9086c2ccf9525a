#pragma once

#include <QString>

#include <vector>

struct SSharedFile {
    QString path;
    int type;
};

/// The files below a folder that would be resources, in the order in which the file system lists them. Folders that
/// can't be read are passed over; one that links lead to more than once is entered once.
std::vector<SSharedFile> CollectSharedFiles(const QString& folder);
