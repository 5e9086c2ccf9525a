#pragma once

#include "Interfaces/CloudControl.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

/// A message to the cloud service.
struct SCloudMessage {
    CloudControl::EROUTE_TYPE route;
    std::string data;
    // For the traffic record, as in STrafficRecord.
    std::uint32_t code = 0;
    std::uint64_t replyTo = 0;
    std::size_t maxFrameBytes = 0; ///< not 0: only so many bytes are sent, then the connection is closed
};

/// Queue of messages to the cloud service. Any thread.
///
/// When it is full, the oldest pictures are dropped first, then the oldest other messages. Each message belongs to one
/// connection and is dropped when that connection ends. Connections are numbered from 1.
class CCloudOutbox {
public:
    explicit CCloudOutbox(std::size_t maxBytes) : m_maxBytes(maxBytes) {}

    /// Returns the number of the current connection or, if there is none, of the next one.
    std::uint64_t Connection() const;
    /// To be called when the current connection has ended. Drops its messages.
    void EndConnection();
    /// Appends a message.
    /// \return the number of dropped messages; 1 when the message itself is dropped because its connection has ended
    std::size_t Put(SCloudMessage message, std::uint64_t connection);
    /// Removes and returns the oldest message, or nullopt.
    std::optional<SCloudMessage> Take();

private:
    void DropOne();

    const std::size_t m_maxBytes;
    mutable std::mutex m_mutex;
    std::uint64_t m_connection = 1;
    std::deque<SCloudMessage> m_messages;
    std::size_t m_bytes = 0;
};
