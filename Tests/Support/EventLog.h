#pragma once

#include "Traffic/Traffic.h"

#include <mutex>
#include <string>

/// Collects the channels' log during its lifetime: one line for each event, and with traffic one for each packet.
class CEventLog {
public:
    explicit CEventLog(bool traffic = true)
        : m_traffic(
              [this](const STrafficRecord& record) {
                  const std::lock_guard lock(m_mutex);
                  m_text += NameOf(record.channel) + (' ' + record.peer) + ": " + record.text +
                            std::string(record.payload) + '\n';
              },
              traffic)
    {}
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;

    std::string Text() const
    {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }
    bool Has(const std::string& part) const { return Text().find(part) != std::string::npos; }

private:
    mutable std::mutex m_mutex;
    std::string m_text;
    CTrafficSubscription m_traffic; ///< destroyed first
};
