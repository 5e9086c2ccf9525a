#pragma once

#include "Interfaces/LogModel.h"

#include <memory>
#include <mutex>
#include <string>

struct sqlite3;

/// The show log: what was played and what was done, in an SQLite file that outlives the host. Any thread. A log that
/// can't be written is told on the debug output and holds up nothing.
class CShowLog : public CLogModel {
public:
    /// In memory, until Open.
    CShowLog();
    ~CShowLog() override;
    CShowLog(const CShowLog&) = delete;
    CShowLog& operator=(const CShowLog&) = delete;

    /// Goes on in this file, which is made if it isn't there. When that can't be, nothing has changed, and it returns
    /// why; else an empty text.
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

    std::mutex m_mutex;
    Database m_database;
    QList<SPlayRecord> m_played;
    QList<SOPRecord> m_operations;
};

/// How the log writes times: they sort as texts.
constexpr char kLogTimeFormat[] = "yyyy-MM-dd hh:mm:ss";
