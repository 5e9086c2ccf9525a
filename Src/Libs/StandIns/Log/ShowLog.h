#pragma once

#include "Interfaces/LogModel.h"

#include <memory>
#include <mutex>
#include <string>

struct sqlite3;

/// The show log: records of played media and of operations, in an SQLite file. Any thread.
///
/// While the file can't be written, for example because the disk is full, records wait in memory; queries include them.
/// The first failure and the first success after it are logged.
class CShowLog : public CLogModel {
public:
    /// Creates a log in memory. Records that are added before Open are lost.
    CShowLog();
    ~CShowLog() override;
    CShowLog(const CShowLog&) = delete;
    CShowLog& operator=(const CShowLog&) = delete;

    /// Opens the file for all further records. A file that does not exist is created; only its owner can read it. On
    /// failure the log is unchanged.
    /// \return the error, or an empty text on success
    std::string Open(const std::string& file);
    /// Adds a record.
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
    template <class Record, class... Values>
    void Query(QList<Record>& records, const char* condition, bool descending, const Values&... values);
    bool WriteWaiting();

    std::mutex m_mutex;
    QString m_file;
    int m_waiting = 0; ///< records in the database's temporary tables
    Database m_database;
    QList<SPlayRecord> m_played;
    QList<SOPRecord> m_operations;
};

/// Format of times in the log. Their alphabetical order is their chronological order.
constexpr char kLogTimeFormat[] = "yyyy-MM-dd hh:mm:ss";
