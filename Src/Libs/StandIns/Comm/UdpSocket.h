#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/IoThreads.h"

#include <asio/ip/udp.hpp>

#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// A bound UDP socket. Its callbacks run on the threads, those of one peer one after the other in the order in which
/// the datagrams came: a peer whose datagram takes long to deal with holds up no other peer.
class CUdpSocket {
public:
    using DatagramCallback = std::function<void(std::string datagram, const std::string& ip, std::uint16_t port)>;

    CUdpSocket(CIoThreads& threads, std::string channel, DatagramCallback onDatagram);

    /// Binds and receives; false when the address can't be had, which is told as an event.
    bool Start(const std::string& address, std::uint16_t port);
    /// Sends at once or not at all: a datagram that finds no room is lost, as it could be on the way. Any thread.
    void Send(const std::string& datagram, const std::string& ip, std::uint16_t port);

private:
    using Endpoint = asio::ip::udp::endpoint;

    /// What came from a peer while an earlier datagram of its is dealt with.
    struct SBusyPeer {
        std::list<std::string> waiting;
        std::size_t waitingBytes = 0;
        bool drops = false;
    };

    void Receive();
    bool TakeOrQueue(const Endpoint& peer, std::string& datagram);
    void Handle(const Endpoint& peer, std::string datagram);
    void HandleNext(const Endpoint& peer);
    void Note(const std::string& peer, const std::string& text) const;

    CIoThreads& m_threads;
    const std::string m_channel;
    const DatagramCallback m_onDatagram;
    asio::ip::udp::socket m_socket;
    bool m_servesIPv6 = false; ///< such a socket takes IPv4 addresses in their mapped form only
    std::mutex m_sendMutex;
    std::vector<char> m_buffer; ///< with the peer used by one receive operation at a time
    Endpoint m_remote;
    std::mutex m_busyMutex;
    std::map<Endpoint, SBusyPeer> m_busy; ///< those with a datagram that is being dealt with or waits for it
    std::size_t m_waitingBytes = 0;       ///< of all of them
};
