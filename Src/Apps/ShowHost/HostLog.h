#pragma once

#include "ShowHost/LineWriter.h"
#include "Traffic/Traffic.h"

#include <QString>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Writes the host's log to standard output, one line per event. If the journal reads it, lines have the event's
/// priority, and no time because the journal adds it. Control characters are escaped (LineText), so that
/// text from outside can't start a new line. Receives Qt's messages as well. Only one object may exist. Any thread;
/// writing does not block.
class CHostLog {
public:
    /// Starts in quiet mode.
    CHostLog();
    ~CHostLog();
    CHostLog(const CHostLog&) = delete;
    CHostLog& operator=(const CHostLog&) = delete;

    /// In quiet mode, traffic and the module's debug output are not printed. Warnings of the host are printed.
    void SetQuiet(bool quiet);
    /// Prints the line with the time, except in quiet mode.
    void Print(const QString& line);
    /// Prints the line without the time, also in quiet mode.
    void PrintAnswer(const QString& line);
    /// Name and address of each channel that listens, in the order in which they started.
    std::vector<std::string> Listening() const;
    /// For each channel that failed to start, its name and the reason.
    std::vector<std::string> Failures() const;

private:
    /// Those of syslog(3).
    enum Priority : int { Error = 3, Warning = 4, Notice = 5, Info = 6, Debug = 7 };

    static void TakeQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text);
    void Take(const STrafficRecord& record);
    void Write(Priority priority, const QString& line);
    /// Writes the line with the time.
    void WriteTimed(Priority priority, const QString& line);

    const bool m_isJournal;
    std::atomic<bool> m_quiet{true};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_listening;
    std::vector<std::string> m_failures;
    CLineWriter m_output;
    std::optional<CTrafficSubscription> m_traffic; ///< destroyed first
};
