#pragma once

#include "Interfaces/LogModel.h"

#include <memory>
#include <mutex>
#include <string>

struct sqlite3;

/// The show log: what was played and what was done, in an SQLite file that outlives the host. Any thread. While the
/// file can't be written, for example because the disk is full, records wait in memory, where queries find them as
/// well; that is logged once, and once more when the file is written again.
class CShowLog : public CLogModel {
public:
    /// In memory, until Open.
    CShowLog();
    ~CShowLog() override;
    CShowLog(const CShowLog&) = delete;
    CShowLog& operator=(const CShowLog&) = delete;

    /// Goes on in this file, which is made if it isn't there, readable by its owner only. When that can't be, nothing
    /// has changed, and it returns why; else an empty text.
    std::string Open(const std::string& file);
    void Add(const SPlayRecord& record);
    void Add(const SOPRecord& record);

    QList<SPlayRecord> GetPlayLogList() override;
    QList<SOPRecord> GetOPLogList() override;
    void QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending) override;
    void QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending) override;

private:
    struct SClose {
        void operator()(sqlite3* database) const;
    };
    using Database = std::unique_ptr<sqlite3, SClose>;

    template <class Record>
    void Insert(const Record& record);
    bool WriteWaiting();

    std::mutex m_mutex;
    QString m_file;
    int m_waiting = 0; ///< records in the database's temporary tables
    Database m_database;
    QList<SPlayRecord> m_played;
    QList<SOPRecord> m_operations;
};

/// How the log writes times: they sort as texts.
constexpr char kLogTimeFormat[] = "yyyy-MM-dd hh:mm:ss";
