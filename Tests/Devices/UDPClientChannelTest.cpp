#include "Interfaces/DeviceChannels.h"

#include "Support/EventLog.h"

#include <QNetworkDatagram>
#include <QUdpSocket>

#include <gmock/gmock.h>

#include <algorithm>

using testing::HasSubstr;

namespace {

constexpr std::size_t kMaxDatagram = 512;
constexpr std::uint16_t kLocalPort = 25868; ///< not the port of the module, which hosts of other tests use
constexpr char kLocalIp[] = "127.0.0.73";
constexpr char kDeviceIp[] = "127.0.0.74";

/// A device on the loopback interface.
class CUdpDevice : public QUdpSocket {
public:
    CUdpDevice() { EXPECT_TRUE(bind(QHostAddress(kDeviceIp))); }

    /// Returns the next datagram, followed by its sender's address.
    std::string Receive()
    {
        const QNetworkDatagram datagram = receiveDatagram();
        return datagram.data().toStdString() + " from " + datagram.senderAddress().toString().toStdString() + ':' +
               std::to_string(datagram.senderPort());
    }
};

} // namespace

TEST(UDPClientChannelTest, AllChannelsSendFromOnePortToTheirDevices)
{
    CUdpDevice lights;
    CUdpDevice curtain;
    Comm::UDPClientChannel first(kMaxDatagram);
    auto second = std::make_unique<Comm::UDPClientChannel>(kMaxDatagram);
    ASSERT_TRUE(first.Init(kLocalIp, kLocalPort));
    ASSERT_TRUE(second->Init(kLocalIp, kLocalPort));

    EXPECT_TRUE(first.SendTo("PWR ON", kDeviceIp, lights.localPort()));
    EXPECT_TRUE(second->SendTo(std::string("a\0b", 3), kDeviceIp, curtain.localPort()));
    ASSERT_TRUE(second->Init({}, kLocalPort));
    EXPECT_TRUE(second->SendTo("from anywhere", kDeviceIp, curtain.localPort()));
    second.reset();
    EXPECT_TRUE(first.SendTo(std::string(60000, 'x'), kDeviceIp, curtain.localPort()));
    EXPECT_TRUE(first.SendTo("to all devices", "127.255.255.255", curtain.localPort()));

    EXPECT_EQ(lights.Receive(), "PWR ON from 127.0.0.73:25868");
    EXPECT_EQ(curtain.Receive(), std::string("a\0b", 3) + " from 127.0.0.73:25868");
    EXPECT_THAT(curtain.Receive(), testing::EndsWith(":25868"));
    EXPECT_EQ(curtain.Receive(), std::string(60000, 'x') + " from 127.0.0.73:25868");
}

TEST(UDPClientChannelTest, ADatagramThatCannotBeSentIsReportedAndLaterOnesAreSent)
{
    CEventLog log;
    CUdpDevice device;
    Comm::UDPClientChannel channel(kMaxDatagram);
    EXPECT_FALSE(channel.SendTo("too early", kDeviceIp, device.localPort()));
    ASSERT_TRUE(channel.Init(kLocalIp, kLocalPort));

    for (const char* address : {"", "projector", "127.0.0.74.1", "127.1", "::1", "0127.0.0.74", " 127.0.0.74"})
        EXPECT_FALSE(channel.SendTo("x", address, device.localPort())) << address;
    EXPECT_FALSE(channel.SendTo("x", kDeviceIp, 0));
    EXPECT_FALSE(channel.SendTo(std::string(70000, 'x'), kDeviceIp, device.localPort()));

    const std::string text = log.Text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10) << text;
    EXPECT_THAT(text, HasSubstr("devices 127.0.0.74:0: 1 bytes not sent: Invalid argument"));
    EXPECT_THAT(text, HasSubstr("70000 bytes not sent: Message too long"));
    EXPECT_FALSE(device.hasPendingDatagrams());
    EXPECT_TRUE(channel.SendTo("still here", kDeviceIp, device.localPort()));
    EXPECT_EQ(device.Receive(), "still here from 127.0.0.73:25868");
}

TEST(UDPClientChannelTest, APortInUseIsReportedOnceForAllDevicesAndUsedWhenItIsFree)
{
    CEventLog log;
    CUdpDevice device;
    auto owner = std::make_unique<QUdpSocket>();
    ASSERT_TRUE(owner->bind(QHostAddress(kLocalIp), kLocalPort, QUdpSocket::DontShareAddress));
    Comm::UDPClientChannel first(kMaxDatagram);
    Comm::UDPClientChannel second(kMaxDatagram);

    for (Comm::UDPClientChannel* channel : {&first, &second}) {
        EXPECT_FALSE(channel->Init(kLocalIp, kLocalPort));
        EXPECT_FALSE(channel->SendTo("lost", kDeviceIp, device.localPort()));
    }
    owner.reset();
    EXPECT_TRUE(first.SendTo("sent", kDeviceIp, device.localPort()));

    EXPECT_EQ(device.Receive(), "sent from 127.0.0.73:25868");
    EXPECT_THAT(log.Text(),
                testing::MatchesRegex("devices : can't use local port 25868, tries again at each command: [^\n]*\n"
                                      "devices : local port 25868 can be used again; datagrams lost: 2\n"
                                      "devices [^\n]*: sent\n"));
}
