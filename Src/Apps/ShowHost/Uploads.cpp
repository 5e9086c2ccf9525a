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

/// The file name without control characters, which FTP permits: a remote or a terminal would interpret them.
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
        m_log.Print("host: no resource added: unsupported file type: " + file);
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
        m_log.Print("host: no resource added: no project is open");
}

/// Callers use only the result: a link in the original path could change afterwards. FTP clients can't create links.
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
    m_log.Print("host: resource stays unready, too many uploads are queued: " + file.path);
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
        // If the file is queued again, it was uploaded again while it was read: the result is outdated.
        if (m_ends || IsWaiting(file))
            return;
    }
    if (!picture.error.isEmpty() && GetFileResType(file.path) == ResourceType::Picture)
        m_log.Print("host: can't read the picture " + file.path + ": " + picture.error);
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
