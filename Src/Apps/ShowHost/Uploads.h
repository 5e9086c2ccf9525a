#pragma once

#include <QString>
#include <QUuid>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

class CHostEvents;
class CHostLog;

/// Makes resources of uploaded files. A resource is in the show at once, and ready to play when a thread of this
/// object has looked into its file, one file after the other: a picture can take seconds to decode.
class CUploads {
public:
    /// \param folder the folder that files are uploaded to; files elsewhere are refused
    CUploads(CHostEvents& events, CHostLog& log, QString folder);
    ~CUploads();
    CUploads(const CUploads&) = delete;
    CUploads& operator=(const CUploads&) = delete;

    /// A finished upload; the path is absolute or relative to the folder. What is not a regular file below the folder
    /// is refused, links resolved. A file of which the open project has a resource renews that one. If too many files
    /// are waiting, the resource does not become ready before its file is uploaded again. Any thread; does not block.
    void Take(const QString& path);
    /// Ends the thread; files that wait are dropped. Returns when the file in progress is finished.
    void Stop();

private:
    struct SFile {
        QUuid project;
        QString path;

        bool operator==(const SFile& other) const { return project == other.project && path == other.path; }
    };

    /// The path with links resolved; empty for what is not a regular file below the folder.
    QString Resolve(const QString& path) const;
    void Wait(const SFile& file);
    void Work();
    void MakeReady(const SFile& file);
    bool IsWaiting(const SFile& file) const;

    CHostEvents& m_events;
    CHostLog& m_log;
    const QString m_folder;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<SFile> m_waiting;
    bool m_ends = false;
    std::thread m_thread;
};
