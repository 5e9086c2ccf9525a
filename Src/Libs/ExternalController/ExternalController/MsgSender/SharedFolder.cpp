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
        const QString place = dir.canonicalPath();
        if (place.isEmpty() || m_way.contains(place))
            return;
        m_way.append(place);
        const QFileInfoList entries = dir.entryInfoList(kEntries, QDir::Unsorted);
        for (const QFileInfo& entry : entries) {
            if (entry.isDir())
                Enter(entry.filePath());
            else
                Take(entry);
        }
        m_way.removeLast();
    }

    std::vector<SSharedFile> files;

private:
    void Take(const QFileInfo& file)
    {
        const int type = GetFileResType(file.fileName());
        if (type != -1)
            files.push_back({file.filePath(), type});
    }

    QStringList m_way; ///< the folders that it is inside of
};

} // namespace

std::vector<SSharedFile> CollectSharedFiles(const QString& folder)
{
    CFolderWalk walk;
    if (!folder.isEmpty())
        walk.Enter(folder);
    return std::move(walk.files);
}
