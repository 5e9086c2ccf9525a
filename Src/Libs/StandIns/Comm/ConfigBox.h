#pragma once

#include <mutex>
#include <utility>

/// Holds the configuration that the host sets and that a channel reads when the module creates it. Any thread.
template <class Config>
class CConfigBox {
public:
    void Set(Config config)
    {
        const std::lock_guard lock(m_mutex);
        m_config = std::move(config);
    }

    Config Get() const
    {
        const std::lock_guard lock(m_mutex);
        return m_config;
    }

private:
    mutable std::mutex m_mutex;
    Config m_config;
};
