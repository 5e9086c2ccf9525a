#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/IoThreads.h"

#include <asio/ip/udp.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A bound UDP socket. Its callbacks run one after the other, on the threads.
class CUdpSocket {
public:
    using DatagramCallback = std::function<void(std::string datagram, const std::string& ip, std::uint16_t port)>;

    CUdpSocket(CIoThreads& threads, std::string channel, DatagramCallback onDatagram);

    /// Binds and receives; false when the address can't be had, which is told as an event.
    bool Start(const std::string& address, std::uint16_t port);
    /// Sends at once or not at all: a datagram that finds no room is lost, as it could be on the way. Any thread.
    void Send(const std::string& datagram, const std::string& ip, std::uint16_t port);

private:
    void Receive();

    CIoThreads& m_threads;
    const std::string m_channel;
    const DatagramCallback m_onDatagram;
    asio::ip::udp::socket m_socket;
    std::mutex m_sendMutex;
    std::vector<char> m_buffer;
    asio::ip::udp::endpoint m_remote;
};
