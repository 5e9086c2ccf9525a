#pragma once

#include "Comm/ChannelEvents.h"

#include <mutex>
#include <string>

/// Collects the channels' log during its lifetime: one line for each event, and with traffic one for each packet.
class CEventLog {
public:
    explicit CEventLog(bool traffic = true)
    {
        CChannelEvents::GetInstance().SetSink(
            [this](const SChannelEvent& event) {
                const std::lock_guard lock(m_mutex);
                m_text += event.channel + ' ' + event.peer + ": " + event.text + '\n';
            },
            traffic);
    }
    ~CEventLog() { CChannelEvents::GetInstance().SetSink({}, false); }
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
};
