#pragma once

#include "Comm/IoThreads.h"
#include "Traffic/Traffic.h"

#include <asio/ip/udp.hpp>

#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// A bound UDP socket. The callbacks run on the I/O threads; those of one peer run one after the other, in the order in
/// which the datagrams arrived. A datagram that is slow to handle delays the same peer only.
class CUdpSocket {
public:
    using DatagramCallback = std::function<void(std::string datagram, const std::string& ip, std::uint16_t port)>;

    CUdpSocket(CIoThreads& threads, TrafficChannel channel, DatagramCallback onDatagram);

    /// Binds the socket and starts receiving. To be called once.
    /// \return false when binding fails; the reason is published as an event
    bool Start(const std::string& address, std::uint16_t port);
    /// Sends without waiting: if the system's send buffer is full, the datagram is dropped and the error is published
    /// as an event. Applies the fault rule of the request that this thread is handling. Any thread.
    void Send(const std::string& datagram, const std::string& ip, std::uint16_t port);
    /// Carries out a fault rule that replaces the handling of the request.
    /// \return false if there is none, so that the request is to be handled
    bool TakesOver(const CTrafficRequest& request, const std::string& ip, std::uint16_t port);
    /// Returns the record of a datagram that the remote has sent.
    /// \param code of the command in the datagram; 0 for none
    STrafficRecord RecordOf(const std::string& datagram, std::uint32_t code, const std::string& ip,
                            std::uint16_t port) const;

private:
    using Endpoint = asio::ip::udp::endpoint;

    /// Datagrams queued while an earlier datagram from the same peer is handled.
    struct SBusyPeer {
        std::list<std::string> waiting;
        std::size_t waitingBytes = 0;
        bool drops = false; ///< a datagram was dropped, which is published once only
    };

    void Receive();
    void ReceiveMore(std::size_t count);
    bool TakeOrQueue(const Endpoint& peer, std::string& datagram);
    void Handle(const Endpoint& peer, std::string datagram);
    void SendOnce(const std::string& datagram, const std::string& ip, std::uint16_t port);
    void Note(const std::string& peer, const std::string& text) const;

    CIoThreads& m_threads;
    const TrafficChannel m_channel;
    const DatagramCallback m_onDatagram;
    asio::ip::udp::socket m_socket;
    bool m_servesIPv6 = false; ///< the socket requires IPv4 addresses in their IPv4-mapped form
    std::mutex m_sendMutex;
    std::vector<char> m_buffer; ///< with m_remote used by one receive operation at a time
    Endpoint m_remote;
    std::mutex m_busyMutex;
    std::map<Endpoint, SBusyPeer> m_busy; ///< the peers with a datagram that is being handled or queued
    std::size_t m_waitingBytes = 0;       ///< of all peers
};
