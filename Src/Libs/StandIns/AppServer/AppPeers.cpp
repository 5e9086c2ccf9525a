#include "AppServer/AppPeers.h"

#include <algorithm>

void CAppPeers::Add(std::size_t channel, const CEnvelopeConnection::Ptr& connection)
{
    const std::lock_guard lock(m_mutex);
    SPeer& peer = m_peers[connection.get()];
    peer = {connection, nullptr, channel};

    Pair(peer);
}

/// Pairs a connection with the newest one on the other channel that has no partner, or stores it as one without.
void CAppPeers::Pair(SPeer& peer)
{
    const std::string& ip = peer.connection->RemoteIp();
    const auto candidates = m_single[1 - peer.channel].find(ip);
    if (candidates == m_single[1 - peer.channel].end()) {
        m_single[peer.channel][ip].push_back(peer.connection.get());
        return;
    }
    peer.partner = candidates->second.back();
    SPeer& partner = m_peers[peer.partner];
    partner.partner = peer.connection.get();
    if (partner.connection->IsProtected())
        peer.connection->Protect();
    if (peer.connection->IsProtected())
        partner.connection->Protect();
    RemoveSingle(1 - peer.channel, ip, peer.partner);
}

void CAppPeers::Remove(const CEnvelopeConnection::Ptr& connection)
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_peers.find(connection.get());
    if (found == m_peers.end())
        return;
    const SPeer gone = found->second;
    m_peers.erase(found);
    const std::string& ip = connection->RemoteIp();
    if (gone.partner) {
        // An app that connects again may have been paired with a connection of its own that closes only now.
        SPeer& partner = m_peers[gone.partner];
        partner.partner = nullptr;
        Pair(partner);
        return;
    }
    RemoveSingle(gone.channel, ip, connection.get());
}

/// Removes the entry of an address without connections: a host that runs for months meets many addresses.
void CAppPeers::RemoveSingle(std::size_t channel, const std::string& ip, const CEnvelopeConnection* connection)
{
    auto& single = m_single[channel][ip];
    single.erase(std::remove(single.begin(), single.end(), connection), single.end());
    if (single.empty())
        m_single[channel].erase(ip);
}

void CAppPeers::LogIn(const CEnvelopeConnection::Ptr& connection)
{
    connection->Protect();
    if (const auto partner = PartnerOf(connection.get()))
        partner->Protect();
}

CEnvelopeConnection::Ptr CAppPeers::PartnerOf(const CEnvelopeConnection* connection) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_peers.find(connection);
    if (found == m_peers.end() || !found->second.partner)
        return nullptr;
    return m_peers.at(found->second.partner).connection;
}
