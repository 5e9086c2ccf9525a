#pragma once

#include <QString>
#include <QUuid>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

class CHostEvents;
class CHostLog;

/// Adds uploaded files to the show as resources. A resource is added at once, but is ready to play only after a thread
/// of this object has read its file. The thread reads one file at a time; decoding a picture can take seconds.
class CUploads {
public:
    /// \param folder the folder that stores uploads; files outside it are refused
    CUploads(CHostEvents& events, CHostLog& log, QString folder);
    ~CUploads();
    CUploads(const CUploads&) = delete;
    CUploads& operator=(const CUploads&) = delete;

    /// Handles a finished upload. Refuses paths that, after resolving links, are not regular files below the folder.
    /// If the open project has resources with this file, they are reloaded; otherwise a resource is added. If 1000
    /// files are queued, the resource stays unready until its file is uploaded again. Any thread; does not block.
    /// \param path absolute, or relative to the folder
    void Take(const QString& path);
    /// Ends the thread and waits for it. The current file is completed; queued files are dropped.
    void Stop();

private:
    struct SFile {
        QUuid project;
        QString path;

        bool operator==(const SFile& other) const { return project == other.project && path == other.path; }
    };

    /// Returns the path with links resolved; empty if it is not a regular file below the folder.
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
