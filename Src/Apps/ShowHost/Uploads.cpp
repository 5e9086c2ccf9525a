#include "ShowHost/Uploads.h"

#include "ExternalController/Common/FileType.h"
#include "HostModels/HostModels.h"
#include "HostModels/Pictures/PictureFile.h"
#include "ShowHost/HostEvents.h"
#include "ShowHost/HostLog.h"
#include "ShowHost/ShowChanges.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

constexpr std::size_t kMaxWaiting = 1000;

/// The file's name as remotes and logs may show it: FTP allows line breaks and escape sequences in names.
QString DisplayName(QString name)
{
    for (QChar& character : name) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph)
            character = QChar::ReplacementCharacter;
    }
    return name;
}

} // namespace

CUploads::CUploads(CHostEvents& events, CHostLog& log, QString folder)
    : m_events(events), m_log(log), m_folder(std::move(folder)), m_thread([this] { Work(); })
{}

CUploads::~CUploads()
{
    Stop();
}

void CUploads::Take(const QString& path)
{
    const QString file = Resolve(path);
    const QString name = DisplayName(QFileInfo(path).fileName());
    if (file.isEmpty()) {
        m_log.Print("host: upload refused: not a file below the upload folder: " + path);
        return;
    }
    m_log.Print("host: uploaded " + file);
    SResourceProperties resource;
    resource.id = QUuid::createUuid();
    resource.type = GetFileResType(name);
    resource.name = name;
    resource.path = file;
    resource.resolution = QSize(0, 0); // not known yet
    if (resource.type < 0) {
        m_log.Print("host: no resource: nothing plays such a file");
        return;
    }
    std::optional<QUuid> project;
    m_events.Change([&](SShow& show, std::vector<SShowEvent>& events) {
        if (!show.Project())
            return;
        project = show.Project()->id;
        TakeFile(show, resource, events);
    });
    if (project)
        Wait({*project, file});
    else
        m_log.Print("host: no resource: no project is open");
}

/// The result is used from then on, since links may change; clients of the FTP server can make none.
QString CUploads::Resolve(const QString& path) const
{
    const QString folder = QDir(m_folder).canonicalPath();
    const QFileInfo file(QFileInfo(QDir(m_folder), path).canonicalFilePath());
    return !folder.isEmpty() && file.filePath().startsWith(folder + '/') && file.isFile() ? file.filePath() : QString();
}

void CUploads::Wait(const SFile& file)
{
    {
        const std::lock_guard lock(m_mutex);
        if (IsWaiting(file))
            return;
        if (m_waiting.size() < kMaxWaiting) {
            m_waiting.push_back(file);
            m_wake.notify_one();
            return;
        }
    }
    m_log.Print("host: not made ready, too many uploads are waiting: " + file.path);
}

bool CUploads::IsWaiting(const SFile& file) const
{
    return std::find(m_waiting.begin(), m_waiting.end(), file) != m_waiting.end();
}

void CUploads::Work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_ends || !m_waiting.empty(); });
        if (m_ends)
            return;
        const SFile file = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        MakeReady(file);
        lock.lock();
    }
}

void CUploads::MakeReady(const SFile& file)
{
    const SPictureFile picture = ReadPictureFile(file.path);
    {
        const std::lock_guard lock(m_mutex);
        // Uploaded once more meanwhile: what was read is outdated.
        if (m_ends || IsWaiting(file))
            return;
    }
    if (!picture.error.isEmpty() && GetFileResType(file.path) == ResourceType::Picture)
        m_log.Print("host: no picture in " + file.path + ": " + picture.error);
    m_events.Change([&](SShow& show, std::vector<SShowEvent>& events) {
        Demux(show, file.project, file.path, picture.size, events);
    });
}

void CUploads::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}
