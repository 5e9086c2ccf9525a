#pragma once

#include "Comm/EnvelopeConnection.h"

#include <array>
#include <map>
#include <mutex>
#include <vector>

/// Records which connections of the two channels belong to the same app. The protocol does not identify an app, so a
/// connection is paired with the newest connection from the same address on the other channel that has no partner yet.
/// Any thread.
class CAppPeers {
public:
    /// Adds a connection and pairs it if possible.
    /// \param channel 0 or 1
    void Add(std::size_t channel, const CEnvelopeConnection::Ptr& connection);
    /// Removes a connection; its partner can be paired again.
    void Remove(const CEnvelopeConnection::Ptr& connection);
    /// To be called when the app has logged in on this connection: from now on its connections are not closed in favour
    /// of new ones. This includes a connection that the app opens later on the other channel.
    void LogIn(const CEnvelopeConnection::Ptr& connection);
    /// Returns the app's connection on the other channel, or null.
    CEnvelopeConnection::Ptr PartnerOf(const CEnvelopeConnection* connection) const;

private:
    struct SPeer {
        CEnvelopeConnection::Ptr connection;
        const CEnvelopeConnection* partner = nullptr;
        std::size_t channel = 0;
    };

    void Pair(SPeer& peer);
    void RemoveSingle(std::size_t channel, const std::string& ip, const CEnvelopeConnection* connection);

    mutable std::mutex m_mutex;
    std::map<const CEnvelopeConnection*, SPeer> m_peers;
    /// The connections without a partner, by channel and address, the newest last.
    std::array<std::map<std::string, std::vector<const CEnvelopeConnection*>>, 2> m_single;
};
