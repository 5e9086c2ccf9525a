#include "ExternalController/MsgSender/SharedFolder.h"

#include "ExternalController/Common/FileType.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>

#include <utility>

namespace {

constexpr QDir::Filters kEntries = QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot;

class CFolderWalk {
public:
    void Enter(const QString& folder)
    {
        const QDir dir(folder);
        const QString path = dir.canonicalPath();
        if (path.isEmpty() || m_openFolders.contains(path))
            return;
        m_openFolders.append(path);
        const QFileInfoList entries = dir.entryInfoList(kEntries, QDir::Unsorted);
        for (const QFileInfo& entry : entries) {
            if (entry.isDir())
                Enter(entry.filePath());
            else
                Take(entry);
        }
        m_openFolders.removeLast();
    }

    std::vector<SSharedFile> files;

private:
    void Take(const QFileInfo& file)
    {
        const int type = GetFileResType(file.fileName());
        if (type != -1)
            files.push_back({file.filePath(), type});
    }

    QStringList m_openFolders; ///< canonical paths of the current folder and its parents
};

} // namespace

std::vector<SSharedFile> CollectSharedFiles(const QString& folder)
{
    CFolderWalk walk;
    if (!folder.isEmpty())
        walk.Enter(folder);
    return std::move(walk.files);
}
