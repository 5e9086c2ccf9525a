#include "AppServer/AppPeers.h"

#include <algorithm>

void CAppPeers::Add(std::size_t channel, const CEnvelopeConnection::Ptr& connection)
{
    const std::lock_guard lock(m_mutex);
    SPeer& peer = m_peers[connection.get()];
    peer = {connection, nullptr, channel};

    const std::string& ip = connection->RemoteIp();
    const auto candidates = m_single[1 - channel].find(ip);
    if (candidates == m_single[1 - channel].end()) {
        m_single[channel][ip].push_back(connection.get());
        return;
    }
    peer.partner = candidates->second.back();
    SPeer& partner = m_peers[peer.partner];
    partner.partner = connection.get();
    if (partner.connection->IsProtected())
        connection->Protect();
    RemoveSingle(1 - channel, ip, peer.partner);
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
        m_peers[gone.partner].partner = nullptr;
        m_single[1 - gone.channel][ip].push_back(gone.partner);
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
