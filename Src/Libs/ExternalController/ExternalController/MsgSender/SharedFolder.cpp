#include "ExternalController/MsgSender/SharedFolder.h"

#include "ExternalController/Common/FileType.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

using Name = std::basic_string_view<fs::path::value_type>;

#ifdef Q_OS_WIN

constexpr wchar_t kSeparators[] = L"/\\";

fs::path ToPath(const QString& path)
{
    return path.toStdWString();
}

QString ToText(Name name)
{
    return QString::fromWCharArray(name.data(), static_cast<int>(name.size()));
}

bool IsHidden(const fs::path& path, Name)
{
    return QFileInfo(ToText(path.native())).isHidden();
}

#else

constexpr char kSeparators[] = "/";

fs::path ToPath(const QString& path)
{
    return path.toStdString();
}

/// Returns an empty text for a name that is not valid UTF-8: an app could not add this file.
QString ToText(Name name)
{
    const QString text = QString::fromUtf8(name.data(), static_cast<int>(name.size()));
    const bool isValid = !text.contains(QChar(QChar::ReplacementCharacter)) || text.toStdString() == name;
    return isValid ? text : QString();
}

bool IsHidden(const fs::path&, Name name)
{
    return name.front() == '.';
}

#endif

/// The name of a file in a folder, without a copy: the path of an entry always has a separator.
Name NameOf(const fs::path& path)
{
    const Name native = path.native();
    return native.substr(native.find_last_of(kSeparators) + 1);
}

struct SEntry {
    enum Kind {
        File,
        Folder,
        LinkedFolder,
    };

    Kind kind;
    QString path;
    int type; ///< the ResourceType of a file
};

/// Returns the subfolders and the files that can be resources.
///
/// The type of a file is read together with its name. A directory_entry stores it, so only links need a further call of
/// the system.
std::vector<SEntry> ReadFolder(const QString& folder)
{
    const QString prefix = folder.endsWith('/') ? folder : folder + '/';
    std::vector<SEntry> entries;
    std::error_code error;
    for (fs::directory_iterator at(ToPath(folder), error); !error && at != fs::directory_iterator();
         at.increment(error)) {
        const Name entryName = NameOf(at->path());
        const QString name = ToText(entryName);
        if (name.isEmpty() || IsHidden(at->path(), entryName))
            continue;
        std::error_code unknown; // an entry of an unknown type is skipped
        const bool isLink = at->is_symlink(unknown);
        if (at->is_directory(unknown)) {
            entries.push_back({isLink ? SEntry::LinkedFolder : SEntry::Folder, prefix + name, 0});
        } else if (at->is_regular_file(unknown) || (isLink && at->exists(unknown))) {
            const int type = GetFileResType(name);
            if (type != -1)
                entries.push_back({SEntry::File, prefix + name, type});
        }
    }
    return entries;
}

class CFolderWalk {
public:
    void Enter(const QString& folder, fs::path canonical)
    {
        m_openFolders.push_back(std::move(canonical));
        for (SEntry& entry : ReadFolder(folder)) {
            switch (entry.kind) {
            case SEntry::File:
                files.push_back({std::move(entry.path), entry.type});
                break;
            case SEntry::Folder:
                Enter(entry.path, m_openFolders.back() / ToPath(entry.path).filename());
                break;
            case SEntry::LinkedFolder:
                Follow(entry.path);
                break;
            }
        }
        m_openFolders.pop_back();
    }

    /// Enters a folder whose path may contain links, unless the walk is inside it already.
    void Follow(const QString& folder)
    {
        std::error_code error;
        fs::path canonical = fs::canonical(ToPath(folder), error);
        if (!error && std::find(m_openFolders.begin(), m_openFolders.end(), canonical) == m_openFolders.end())
            Enter(folder, std::move(canonical));
    }

    std::vector<SSharedFile> files;

private:
    std::vector<fs::path> m_openFolders; ///< canonical paths of the current folder and its parents
};

} // namespace

std::vector<SSharedFile> CollectSharedFiles(const QString& folder)
{
    CFolderWalk walk;
    if (!folder.isEmpty())
        walk.Follow(QDir(folder).path());
    return std::move(walk.files);
}
