#include "Comm/UdpSocket.h"

#include "Support/EventLog.h"
#include "Support/Waiting.h"

#include <asio/buffer.hpp>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr std::uint16_t kUdpPort = 25591;

class CDatagramPeer {
public:
    void Send(const std::string& datagram) { m_socket.send_to(asio::buffer(datagram), m_host); }

    /// Returns an empty text if nothing arrives.
    std::string Receive()
    {
        std::array<char, 100> bytes;
        std::size_t count = 0;
        m_socket.non_blocking(true);
        WaitUntil([&] {
            asio::error_code error;
            count = m_socket.receive(asio::buffer(bytes), 0, error);
            return !error;
        });
        return {bytes.data(), count};
    }

private:
    asio::io_context m_context;
    const asio::ip::udp::endpoint m_host{asio::ip::make_address("127.0.0.11"), kUdpPort};
    asio::ip::udp::socket m_socket{m_context, asio::ip::udp::v4()};
};

/// Returns whether the system's receive buffer of the host's socket is empty.
bool IsAllReceived()
{
    std::ifstream file("/proc/net/udp");
    const std::string sockets((std::istreambuf_iterator<char>(file)), {});
    return sockets.find("0B00007F:63F7 00000000:0000 07 00000000:00000000") != std::string::npos;
}

} // namespace

TEST(UdpSocketTest, AnIPv4PeerOfADualStackSocketHasADottedAddressAndIsAnsweredThere)
{
    CIoThreads threads;
    CUdpSocket socket(threads, TrafficChannel::CentralControl,
                      [&](const std::string& text, const std::string& ip, std::uint16_t port) {
                          socket.Send(text + " from " + ip, ip, port);
                      });
    ASSERT_TRUE(socket.Start("::ffff:127.0.0.11", kUdpPort));
    threads.Start();
    CDatagramPeer peer;

    peer.Send("a word");

    EXPECT_EQ(peer.Receive(), "a word from 127.0.0.1");
    threads.Stop();
}

TEST(UdpSocketTest, TheQueuedDatagramsOfAllPeersHaveACommonLimit)
{
    constexpr int kPeers = 32;
    CEventLog log;
    CGate gate;
    std::atomic<int> taken{0};
    CIoThreads threads;
    CUdpSocket socket(threads, TrafficChannel::CentralControl,
                      [&](const std::string&, const std::string&, std::uint16_t) {
                          ++taken;
                          gate.Wait();
                      });
    ASSERT_TRUE(socket.Start("127.0.0.11", kUdpPort));
    threads.Start();
    std::vector<CDatagramPeer> peers(kPeers);
    for (int i = 0; i < kPeers; ++i) {
        peers[static_cast<std::size_t>(i)].Send("the first");
        ASSERT_TRUE(WaitUntil([&] { return taken > i; }));
    }

    // Each peer's datagrams are within the limit of one peer; all together are twice the common limit.
    const std::string datagram(60'000, 'x');
    bool isLimited = false;
    for (int round = 0; round < 17 && !isLimited; ++round) {
        for (CDatagramPeer& peer : peers) {
            peer.Send(datagram);
            ASSERT_TRUE(WaitUntil(IsAllReceived)); // that buffer is small
        }
        isLimited = log.Has("datagrams dropped");
    }
    gate.Open();

    EXPECT_TRUE(isLimited);
    threads.Stop();
}
