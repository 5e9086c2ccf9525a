#include "ExternalController/MsgSender/SharedFolder.h"

#include "ExternalController/Common/FileType.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <utility>

namespace {

constexpr QDir::Filters kEntries = QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot;

class CFolderWalk {
public:
    void Enter(const QString& folder)
    {
        const QDir dir(folder);
        const QString place = dir.canonicalPath();
        if (place.isEmpty() || m_entered.contains(place))
            return;
        m_entered.insert(place);
        const QFileInfoList entries = dir.entryInfoList(kEntries, QDir::Unsorted);
        for (const QFileInfo& entry : entries) {
            if (entry.isDir())
                Enter(entry.filePath());
            else
                Take(entry);
        }
    }

    std::vector<SSharedFile> files;

private:
    void Take(const QFileInfo& file)
    {
        const int type = GetFileResType(file.fileName());
        if (type != -1)
            files.push_back({file.filePath(), type});
    }

    QSet<QString> m_entered;
};

} // namespace

std::vector<SSharedFile> CollectSharedFiles(const QString& folder)
{
    CFolderWalk walk;
    if (!folder.isEmpty())
        walk.Enter(folder);
    return std::move(walk.files);
}
