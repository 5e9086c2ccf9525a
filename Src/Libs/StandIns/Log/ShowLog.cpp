#include "Log/ShowLog.h"

#include "Log/WriteFailures.h"
#include "Platform/Files.h"

#include <QLoggingCategory>

#include <sqlite3.h>

#include <array>
#include <string>
#include <utility>

Q_LOGGING_CATEGORY(lcLog, "zentravox.log")

namespace {

constexpr char kInMemory[] = ":memory:";
constexpr char kTables[] = R"(
    CREATE TABLE IF NOT EXISTS played (fileType INTEGER, fileDuration TEXT, startTime TEXT, endTime TEXT,
                                       playDuration TEXT, fileName TEXT);
    CREATE INDEX IF NOT EXISTS playedAt ON played (startTime);
    CREATE TABLE IF NOT EXISTS operations (time TEXT, module TEXT, function TEXT, description TEXT, source INTEGER);
    CREATE INDEX IF NOT EXISTS doneAt ON operations (time);
)";
/// Temporary tables of the same form, in memory: the records that could not be written to the file.
constexpr char kWaitingTables[] = R"(
    PRAGMA temp_store=MEMORY;
    CREATE TABLE temp.played AS SELECT * FROM main.played WHERE 0;
    CREATE TABLE temp.operations AS SELECT * FROM main.operations WHERE 0;
)";
constexpr char kWriteWaiting[] = R"(
    BEGIN;
    INSERT INTO main.played SELECT * FROM temp.played ORDER BY rowid;
    INSERT INTO main.operations SELECT * FROM temp.operations ORDER BY rowid;
    DELETE FROM temp.played;
    DELETE FROM temp.operations;
    COMMIT;
)";
/// Maximum number of waiting records: about 20 MB, several days of a busy show. Further records are lost.
constexpr int kMaxWaiting = 100'000;
constexpr char kPrivateFileSuffixes[][9] = {"", "-wal", "-shm", "-journal"};

/// One SQL statement. Bind sets the parameters in the order of its calls.
class CStatement {
public:
    CStatement(sqlite3* database, const std::string& sql) : m_database(database)
    {
        if (sqlite3_prepare_v2(database, sql.c_str(), -1, &m_statement, nullptr) != SQLITE_OK)
            LogError();
    }
    ~CStatement() { sqlite3_finalize(m_statement); }
    CStatement(const CStatement&) = delete;
    CStatement& operator=(const CStatement&) = delete;

    CStatement& Bind(const QString& text)
    {
        const QByteArray bytes = text.toUtf8();
        sqlite3_bind_text(m_statement, ++m_bound, bytes.constData(), bytes.size(), SQLITE_TRANSIENT);
        return *this;
    }
    CStatement& Bind(int number)
    {
        sqlite3_bind_int(m_statement, ++m_bound, number);
        return *this;
    }

    /// Executes a statement without result rows. The caller reports a failure.
    bool Execute() { return sqlite3_step(m_statement) == SQLITE_DONE; }
    /// Reads the next row. Returns false after the last row, and on an error, which is logged.
    bool Step()
    {
        const int result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE)
            LogError();
        return result == SQLITE_ROW;
    }
    QString Text(int column) const
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, column));
    }
    int Number(int column) const { return sqlite3_column_int(m_statement, column); }

private:
    void LogError() const { qCWarning(lcLog) << "show log:" << sqlite3_errmsg(m_database); }

    sqlite3* m_database;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// The databases that contain the records, in the order in which a query lists them.
std::array<std::string, 2> Databases(bool descending)
{
    if (descending)
        return {"temp", "main"};
    return {"main", "temp"};
}

/// Returns "SELECT * FROM main.played WHERE ... ORDER BY rowid ASC". Names and order can't be bound as parameters.
std::string Selection(const std::string& database, const char* rest, bool descending)
{
    return "SELECT * FROM " + database + rest + " ORDER BY rowid" + (descending ? " DESC" : " ASC");
}

template <class... Values>
bool Execute(sqlite3* log, const std::string& sql, const Values&... values)
{
    CStatement statement(log, sql);
    (statement.Bind(values), ...);
    return statement.Execute();
}

bool InsertInto(sqlite3* log, const std::string& database, const SPlayRecord& record)
{
    return Execute(log, "INSERT INTO " + database + ".played VALUES (?, ?, ?, ?, ?, ?)", record.fileType,
                   record.fileDuration, record.startTime, record.endTime, record.playDuration, record.fileName);
}

bool InsertInto(sqlite3* log, const std::string& database, const SOPRecord& record)
{
    return Execute(log, "INSERT INTO " + database + ".operations VALUES (?, ?, ?, ?, ?)", record.time, record.module,
                   record.function, record.description, record.source);
}

void ReadRow(const CStatement& row, SPlayRecord& record)
{
    record = {row.Number(0), row.Text(1), row.Text(2), row.Text(3), row.Text(4), row.Text(5)};
}

void ReadRow(const CStatement& row, SOPRecord& record)
{
    record = {row.Text(0), row.Text(1), row.Text(2), row.Text(3), row.Number(4)};
}

} // namespace

void CShowLog::SClose::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

CShowLog::CShowLog()
{
    Open(kInMemory);
}

CShowLog::~CShowLog()
{
    WriteWaiting();
}

std::string CShowLog::Open(const std::string& file)
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(file.c_str(), &opened);
    Database database(opened);
    if (result != SQLITE_OK || sqlite3_exec(opened, kTables, nullptr, nullptr, nullptr) != SQLITE_OK)
        return sqlite3_errmsg(opened);
    // Opening a read-only file succeeds, and so does creating tables that exist already.
    if (sqlite3_db_readonly(opened, "main") != 0)
        return "the file is write-protected";
    for (const char* suffix : kPrivateFileSuffixes)
        MakePrivate(file + suffix);
    // Writing a record does not wait for the disk. A power failure may lose the last records but does not damage the
    // file.
    sqlite3_exec(opened, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
    sqlite3_exec(opened, kWaitingTables, nullptr, nullptr, nullptr);
    const std::lock_guard lock(m_mutex);
    WriteWaiting();
    m_waiting = 0;
    m_database = std::move(database);
    m_file = QString::fromStdString(file);
    m_played.clear();
    m_operations.clear();
    return {};
}

void CShowLog::Add(const SPlayRecord& record)
{
    const std::lock_guard lock(m_mutex);
    Insert(record);
    m_played.clear();
}

void CShowLog::Add(const SOPRecord& record)
{
    const std::lock_guard lock(m_mutex);
    Insert(record);
    m_operations.clear();
}

template <class Record>
void CShowLog::Insert(const Record& record)
{
    if (WriteWaiting() && InsertInto(m_database.get(), "main", record)) {
        WriteFailures::Succeeded(m_file);
        return;
    }
    WriteFailures::Failed(m_file, sqlite3_errmsg(m_database.get()));
    if (m_waiting < kMaxWaiting && InsertInto(m_database.get(), "temp", record))
        ++m_waiting;
}

/// Moves the waiting records to the file. Returns false when that fails.
bool CShowLog::WriteWaiting()
{
    if (m_waiting == 0)
        return true;
    if (sqlite3_exec(m_database.get(), kWriteWaiting, nullptr, nullptr, nullptr) == SQLITE_OK) {
        m_waiting = 0;
        return true;
    }
    // If the disk is full, SQLite has rolled back the transaction already.
    if (sqlite3_get_autocommit(m_database.get()) == 0)
        sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    return false;
}

QList<SPlayRecord> CShowLog::GetPlayLogList()
{
    const std::lock_guard lock(m_mutex);
    return m_played;
}

QList<SOPRecord> CShowLog::GetOPLogList()
{
    const std::lock_guard lock(m_mutex);
    return m_operations;
}

/// Replaces the list by the records that meet the condition, whose parameters are the values.
///
/// \param condition table and SQL condition, such as ".operations WHERE time > ?"
template <class Record, class... Values>
void CShowLog::Query(QList<Record>& records, const char* condition, bool descending, const Values&... values)
{
    const std::lock_guard lock(m_mutex);
    records.clear();
    for (const std::string& database : Databases(descending)) {
        CStatement query(m_database.get(), Selection(database, condition, descending));
        (query.Bind(values), ...);
        for (Record record; query.Step();) {
            ReadRow(query, record);
            records.append(record);
        }
    }
}

void CShowLog::QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending)
{
    Query(m_played, ".played WHERE startTime BETWEEN ? AND ? AND instr(fileName, ?) > 0", descending,
          start.toString(kLogTimeFormat), end.toString(kLogTimeFormat), name);
}

void CShowLog::QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending)
{
    Query(m_operations, ".operations WHERE time BETWEEN ? AND ?", descending, start.toString(kLogTimeFormat),
          end.toString(kLogTimeFormat));
}
