#pragma once

#include "Comm/ChannelEvents.h"
#include "ShowHost/LineWriter.h"

#include <QString>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

/// What the host prints: one line an event, on standard output. Control characters in it are escaped (LineText): what
/// comes from outside can't begin a line of its own. Any thread; none waits for the output.
class CHostLog {
public:
    /// Quiet at first.
    CHostLog();
    ~CHostLog();
    CHostLog(const CHostLog&) = delete;
    CHostLog& operator=(const CHostLog&) = delete;

    /// Quiet: neither traffic nor the module's debug output; the host's own warnings are printed.
    void SetQuiet(bool quiet);
    void Print(const QString& line);
    /// Prints the line even when quiet.
    void PrintAnswer(const QString& line);
    /// The addresses of the channels that are up, each with its name, in the order in which they came up.
    std::vector<std::string> Listening() const;
    /// What kept channels from coming up.
    std::vector<std::string> Failures() const;

private:
    static void TakeQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text);
    void Take(const SChannelEvent& event);
    std::atomic<bool> m_quiet{true};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_listening;
    std::vector<std::string> m_failures;
    CLineWriter m_output;
};
