#include "CloudControl/CloudOutbox.h"

#include <algorithm>
#include <utility>

std::uint64_t CCloudOutbox::Connection() const
{
    const std::lock_guard lock(m_mutex);
    return m_connection;
}

void CCloudOutbox::EndConnection()
{
    const std::lock_guard lock(m_mutex);
    ++m_connection;
    m_messages.clear();
    m_bytes = 0;
}

std::size_t CCloudOutbox::Put(SCloudMessage message, std::uint64_t connection)
{
    const std::lock_guard lock(m_mutex);
    if (connection != m_connection)
        return 1;
    m_bytes += message.data.size();
    m_messages.push_back(std::move(message));
    std::size_t dropped = 0;
    for (; m_bytes > m_maxBytes; ++dropped)
        DropOne();
    return dropped;
}

std::optional<SCloudMessage> CCloudOutbox::Take()
{
    const std::lock_guard lock(m_mutex);
    if (m_messages.empty())
        return std::nullopt;
    SCloudMessage message = std::move(m_messages.front());
    m_messages.pop_front();
    m_bytes -= message.data.size();
    return message;
}

void CCloudOutbox::DropOne()
{
    const auto picture = std::find_if(m_messages.begin(), m_messages.end(), [](const SCloudMessage& message) {
        return message.route == CloudControl::ClipAndChapterData;
    });
    const auto dropped = picture == m_messages.end() ? m_messages.begin() : picture;
    m_bytes -= dropped->data.size();
    m_messages.erase(dropped);
}
