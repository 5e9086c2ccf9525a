#include "ExternalController/MsgSender/SharedFolder.h"

#include "ExternalController/Common/FileType.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

using NativeString = fs::path::string_type;
using Name = std::basic_string_view<fs::path::value_type>;

enum class Kind {
    File,
    Folder,
    LinkedFolder,
    Other,
};

/// Follows links. An entry of an unknown kind is not a file. A directory_entry stores the kind that was read together
/// with the name, so only links need a further call of the system.
Kind KindOf(const fs::directory_entry& entry)
{
    std::error_code unknown;
    const bool isLink = entry.is_symlink(unknown);
    if (entry.is_directory(unknown))
        return isLink ? Kind::LinkedFolder : Kind::Folder;
    return entry.is_regular_file(unknown) || (isLink && entry.exists(unknown)) ? Kind::File : Kind::Other;
}

#ifdef Q_OS_WIN

constexpr wchar_t kSeparators[] = L"/\\";

fs::path ToPath(const QString& path)
{
    return path.toStdWString();
}

QString ToText(Name path)
{
    return QString::fromWCharArray(path.data(), static_cast<int>(path.size()));
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

/// Returns an empty text for a path that is not valid UTF-8: an app could not add this file.
QString ToText(Name path)
{
    const QString text = QString::fromUtf8(path.data(), static_cast<int>(path.size()));
    const bool isValid = !text.contains(QChar(QChar::ReplacementCharacter)) || text.toStdString() == path;
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

/// The types of files by their suffixes: a folder has many files with few suffixes.
class CFileTypes {
public:
    /// Returns the ResourceType of a file, or -1 if it can't be a resource.
    int TypeOf(Name name)
    {
        const Name suffix = name.substr(name.rfind('.') + 1);
        const auto known = m_types.find(suffix);
        if (known != m_types.end())
            return known->second;
        return m_types.emplace(suffix, GetFileResType(ToText(suffix))).first->second;
    }

private:
    std::map<NativeString, int, std::less<>> m_types;
};

class CFolderWalk {
public:
    void Enter(const QString& folder, fs::path canonical)
    {
        m_openFolders.push_back(std::move(canonical));
        for (SEntry& entry : Read(folder)) {
            switch (entry.kind) {
            case Kind::Folder:
                Enter(entry.path, m_openFolders.back() / ToPath(entry.path).filename());
                break;
            case Kind::LinkedFolder:
                Follow(entry.path);
                break;
            default:
                files.push_back({std::move(entry.path), entry.type});
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
    struct SEntry {
        Kind kind;
        QString path;
        int type; ///< the ResourceType of a file
    };

    /// Returns the subfolders and the files that can be resources.
    std::vector<SEntry> Read(const QString& folder)
    {
        std::vector<SEntry> entries;
        const fs::path path = ToPath(folder);
        NativeString entryPath = path.native();
        if (!folder.endsWith('/'))
            entryPath += '/';
        const std::size_t prefix = entryPath.size();
        std::error_code error;
        for (fs::directory_iterator at(path, error); !error && at != fs::directory_iterator(); at.increment(error)) {
            const Name name = NameOf(at->path());
            if (IsHidden(at->path(), name))
                continue;
            const Kind kind = KindOf(*at);
            const int type = kind == Kind::File ? m_types.TypeOf(name) : -1;
            if (kind == Kind::Other || (kind == Kind::File && type == -1))
                continue;
            entryPath.replace(prefix, NativeString::npos, name);
            QString text = ToText(entryPath);
            if (!text.isEmpty())
                entries.push_back({kind, std::move(text), type});
        }
        return entries;
    }

    CFileTypes m_types;
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
