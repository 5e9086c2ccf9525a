#include "ChannelLoad/Syscall.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/ExternalController.h"
#include "Senders/Case.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>

#include <dirent.h>

namespace {

constexpr double kAim = 2;
constexpr int kFilesOfFolder = 100;

struct SSuffix {
    const char* suffix;
    ResourceType::Type type;
};
constexpr SSuffix kSuffixes[] = {
    {"mp4", ResourceType::Video},         {"mov", ResourceType::Video}, {"png", ResourceType::Picture},
    {"jpg", ResourceType::Picture},       {"wav", ResourceType::Audio}, {"pdf", ResourceType::Pdf},
    {"pptx", ResourceType::Presentation}, {"docx", ResourceType::Word},
};

void FillFolders(const QTemporaryDir& in, int count)
{
    const QDir top(in.path());
    for (int f = 0; f < count; ++f) {
        const QString folder = QStringLiteral("folder-%1").arg(f);
        if (!top.mkdir(folder))
            throw std::runtime_error(top.filePath(folder).toStdString() + ": can't create this folder");
        for (int i = 0; i < kFilesOfFolder; ++i) {
            QFile file(top.filePath(QStringLiteral("%1/clip-%2.%3")
                                        .arg(folder)
                                        .arg(i)
                                        .arg(kSuffixes[static_cast<std::size_t>(i) % std::size(kSuffixes)].suffix)));
            if (!file.open(QIODevice::WriteOnly))
                throw std::runtime_error((file.fileName() + ": " + file.errorString()).toStdString());
        }
    }
}

struct SFile {
    QString path;
    int type;
};

void Walk(const QString& folder, const QHash<QString, int>& types, std::vector<SFile>& files)
{
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir())
            Walk(entry.filePath(), types, files);
        else
            files.push_back({entry.filePath(), types.value(entry.suffix(), -1)});
    }
}

QByteArray ListByHand(const QString& folder, const QHash<QString, int>& types)
{
    std::vector<SFile> files;
    Walk(folder, types, files);
    const int count = static_cast<int>(files.size());
    QJsonObject reply;
    for (const int number : InTextOrder(count)) {
        const SFile& file = files[static_cast<std::size_t>(number)];
        QJsonObject item;
        item.insert(QLatin1String("resPath"), file.path);
        item.insert(QLatin1String("resType"), file.type);
        reply.insert(QString::number(number), item);
    }
    reply.insert(QLatin1String("result"), 1);
    reply.insert(QLatin1String("count"), count);
    return QJsonDocument(reply).toJson();
}

/// Reads only the names and kinds of all files.
void ReadNames(const QByteArray& folder)
{
    DIR* const open = opendir(folder.constData());
    if (!open)
        Syscall::Fail("opendir");
    while (const dirent* entry = readdir(open)) {
        if (entry->d_type == DT_DIR && entry->d_name[0] != '.')
            ReadNames(folder + '/' + entry->d_name);
    }
    closedir(open);
}

SCase CaseOf(int count)
{
    QHash<QString, int> types;
    for (const SSuffix& suffix : kSuffixes)
        types.insert(suffix.suffix, suffix.type);
    const auto folder = std::make_shared<QTemporaryDir>();
    const auto isFilled = std::make_shared<bool>(false);
    return {"shared-folder-list/" + std::to_string(count),
            count,
            kAim,
            [=] {
                // It takes seconds, and a run may skip this case.
                if (!std::exchange(*isFilled, true))
                    FillFolders(*folder, count / kFilesOfFolder);
                GetExternalController()->ModifyAppSharedPath(folder->path());
            },
            [] { Ask(Command::SharedFolderList, "{}"); },
            [=] { return ListByHand(folder->path(), types); },
            {},
            [=] {
                ReadNames(QFile::encodeName(folder->path()));
                return QByteArray();
            }};
}

} // namespace

std::vector<SCase> Cases::SharedFolderList()
{
    return {CaseOf(100'000)};
}
