#pragma once

#include "Comm/EnvelopeConnection.h"

#include <array>
#include <map>
#include <mutex>
#include <vector>

/// Knows which connections of the two channels belong to one app. An app says nowhere that it does: a connection is
/// taken together with the newest one of the same address on the other channel that has no partner yet. Any thread.
class CAppPeers {
public:
    /// The channel is 0 or 1.
    void Add(std::size_t channel, const CEnvelopeConnection::Ptr& connection);
    void Remove(const CEnvelopeConnection::Ptr& connection);
    /// The app has logged in on this connection: from now on none of its connections is closed to make room for others,
    /// nor is one that it opens later on the other channel.
    void LogIn(const CEnvelopeConnection::Ptr& connection);
    /// The app's connection on the other channel, or null.
    CEnvelopeConnection::Ptr PartnerOf(const CEnvelopeConnection* connection) const;

private:
    struct SPeer {
        CEnvelopeConnection::Ptr connection;
        const CEnvelopeConnection* partner = nullptr;
        std::size_t channel = 0;
    };

    void RemoveSingle(std::size_t channel, const std::string& ip, const CEnvelopeConnection* connection);

    mutable std::mutex m_mutex;
    std::map<const CEnvelopeConnection*, SPeer> m_peers;
    /// Without a partner, by channel and address, the newest last.
    std::array<std::map<std::string, std::vector<const CEnvelopeConnection*>>, 2> m_single;
};
