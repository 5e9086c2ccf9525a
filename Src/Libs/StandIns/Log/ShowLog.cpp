#include "Log/ShowLog.h"

#include <QLoggingCategory>

#include <sqlite3.h>

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

/// One statement, with its values bound in the order of the calls.
class CStatement {
public:
    CStatement(sqlite3* database, const char* sql) : m_database(database)
    {
        if (sqlite3_prepare_v2(database, sql, -1, &m_statement, nullptr) != SQLITE_OK)
            Tell();
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

    /// True while there is a row.
    bool Step()
    {
        const int result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE)
            Tell();
        return result == SQLITE_ROW;
    }
    QString Text(int column) const
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return QString::fromUtf8(text, sqlite3_column_bytes(m_statement, column));
    }
    int Number(int column) const { return sqlite3_column_int(m_statement, column); }

private:
    void Tell() const { qCWarning(lcLog) << "the show log:" << sqlite3_errmsg(m_database); }

    sqlite3* m_database;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
};

/// The statement with its order; the order can't be bound.
std::string Ordered(const char* sql, bool descending)
{
    return std::string(sql) + (descending ? " DESC" : " ASC");
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

CShowLog::~CShowLog() = default;

std::string CShowLog::Open(const std::string& file)
{
    sqlite3* opened = nullptr;
    const int result = sqlite3_open(file.c_str(), &opened);
    Database database(opened);
    if (result != SQLITE_OK || sqlite3_exec(opened, kTables, nullptr, nullptr, nullptr) != SQLITE_OK)
        return sqlite3_errmsg(opened);
    // Such a file opens, and takes tables that it has already.
    if (sqlite3_db_readonly(opened, "main") != 0)
        return "it is write-protected";
    // A record costs no wait for the disk; a crash of the whole machine may cost the last ones.
    sqlite3_exec(opened, "PRAGMA journal_mode=WAL; PRAGMA synchronous=OFF;", nullptr, nullptr, nullptr);
    const std::lock_guard lock(m_mutex);
    m_database = std::move(database);
    m_played.clear();
    m_operations.clear();
    return {};
}

void CShowLog::Add(const SPlayRecord& record)
{
    const std::lock_guard lock(m_mutex);
    CStatement(m_database.get(), "INSERT INTO played VALUES (?, ?, ?, ?, ?, ?)")
        .Bind(record.fileType)
        .Bind(record.fileDuration)
        .Bind(record.startTime)
        .Bind(record.endTime)
        .Bind(record.playDuration)
        .Bind(record.fileName)
        .Step();
    m_played.clear();
}

void CShowLog::Add(const SOPRecord& record)
{
    const std::lock_guard lock(m_mutex);
    CStatement(m_database.get(), "INSERT INTO operations VALUES (?, ?, ?, ?, ?)")
        .Bind(record.time)
        .Bind(record.module)
        .Bind(record.function)
        .Bind(record.description)
        .Bind(record.source)
        .Step();
    m_operations.clear();
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

void CShowLog::QueryPlayLog(const QDateTime& start, const QDateTime& end, const QString& name, bool descending)
{
    const std::lock_guard lock(m_mutex);
    const std::string sql = Ordered("SELECT * FROM played WHERE startTime BETWEEN ? AND ? AND instr(fileName, ?) > 0 "
                                    "ORDER BY rowid",
                                    descending);
    CStatement query(m_database.get(), sql.c_str());
    query.Bind(start.toString(kLogTimeFormat)).Bind(end.toString(kLogTimeFormat)).Bind(name);
    m_played.clear();
    while (query.Step())
        m_played.append({query.Number(0), query.Text(1), query.Text(2), query.Text(3), query.Text(4), query.Text(5)});
}

void CShowLog::QueryOPLog(const QDateTime& start, const QDateTime& end, bool descending)
{
    const std::lock_guard lock(m_mutex);
    const std::string sql = Ordered("SELECT * FROM operations WHERE time BETWEEN ? AND ? ORDER BY rowid", descending);
    CStatement query(m_database.get(), sql.c_str());
    query.Bind(start.toString(kLogTimeFormat)).Bind(end.toString(kLogTimeFormat));
    m_operations.clear();
    while (query.Step())
        m_operations.append({query.Text(0), query.Text(1), query.Text(2), query.Text(3), query.Number(4)});
}
