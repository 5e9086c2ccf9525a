#pragma once

#include "Comm/ChannelEvents.h"

#include <QString>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

/// What the host prints: one line an event, on standard output. Any thread.
class CHostLog {
public:
    /// Quiet at first.
    CHostLog();
    ~CHostLog();
    CHostLog(const CHostLog&) = delete;
    CHostLog& operator=(const CHostLog&) = delete;

    /// Quiet: neither traffic nor the module's debug output.
    void SetQuiet(bool quiet);
    void Print(const QString& line);
    /// Prints what somebody asked for, quiet or not.
    void PrintAnswer(const QString& line) { Write(line.toStdString()); }
    /// The addresses of the channels that are up, each with its name, in the order in which they came up.
    std::vector<std::string> Listening() const;
    /// What kept channels from coming up.
    std::vector<std::string> Failures() const;

private:
    void Take(const SChannelEvent& event);
    void Write(const std::string& text);

    std::atomic<bool> m_quiet{true};
    mutable std::mutex m_mutex;
    std::vector<std::string> m_listening;
    std::vector<std::string> m_failures;
};
