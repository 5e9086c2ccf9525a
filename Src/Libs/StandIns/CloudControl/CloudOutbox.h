#pragma once

#include "Interfaces/CloudControl.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

struct SCloudMessage {
    CloudControl::EROUTE_TYPE route;
    std::string data;
};

/// What is on its way to the cloud, in its order. Any thread.
///
/// When it is full the oldest pictures go first, and only when none is left the oldest of the others. What was made for
/// a connection is dropped with it: a message names the connection for which it is, counted from 1.
class CCloudOutbox {
public:
    explicit CCloudOutbox(std::size_t maxBytes) : m_maxBytes(maxBytes) {}

    /// The connection that there is now, or that there will be next.
    std::uint64_t Connection() const;
    /// The current connection has ended.
    void EndConnection();
    /// Returns how many messages had to go for it. A message of an earlier connection is dropped itself.
    std::size_t Put(SCloudMessage message, std::uint64_t connection);
    std::optional<SCloudMessage> Take();

private:
    void DropOne();

    const std::size_t m_maxBytes;
    mutable std::mutex m_mutex;
    std::uint64_t m_connection = 1;
    std::deque<SCloudMessage> m_messages;
    std::size_t m_bytes = 0;
};
