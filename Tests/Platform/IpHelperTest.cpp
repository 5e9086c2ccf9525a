#if defined(__linux__)

#include "Interfaces/IpHelper.h"

#include <QByteArray>
#include <QNetworkInterface>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// One adapter as read from the linked lists.
struct SSeen {
    std::string name;
    std::string hardwareAddress;
    std::vector<std::string> addresses; ///< "address/mask"
    std::string gateway;
    DWORD index = 0;
    UINT type = 0;
};

ULONG NeededBytes()
{
    ULONG bytes = 0;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), ERROR_BUFFER_OVERFLOW);
    return bytes;
}

/// Reads into a buffer of exactly the required size that is filled with other bytes before.
std::vector<SSeen> Adapters()
{
    constexpr unsigned char dirt = 0xa5;
    ULONG bytes = NeededBytes();
    std::vector<unsigned char> buffer(bytes + 64, dirt);
    auto* adapter = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
    EXPECT_EQ(GetAdaptersInfo(adapter, &bytes), NO_ERROR);
    EXPECT_THAT(std::vector<unsigned char>(buffer.begin() + bytes, buffer.end()), Each(dirt));

    std::vector<SSeen> seen;
    for (; adapter; adapter = adapter->Next) {
        const QByteArray hardware(reinterpret_cast<const char*>(adapter->Address),
                                  static_cast<int>(adapter->AddressLength));
        SSeen one{adapter->AdapterName,
                  hardware.toHex('-').toStdString(),
                  {},
                  adapter->GatewayList.IpAddress.String,
                  adapter->Index,
                  adapter->Type};
        for (const IP_ADDR_STRING* address = &adapter->IpAddressList; address; address = address->Next)
            one.addresses.push_back(address->IpAddress.String + std::string("/") + address->IpMask.String);
        seen.push_back(one);
    }
    return seen;
}

/// Runs these lines with `ip -batch`; returns false if one of them failed.
bool RunIp(const std::string& lines)
{
    std::FILE* ip = popen("PATH=\"$PATH:/usr/sbin:/sbin\" exec ip -batch -", "w");
    if (!ip)
        return false;
    std::fputs(lines.c_str(), ip);
    return pclose(ip) == 0;
}

/// Moves the test's thread, the main thread, to a new network namespace that has only the loopback interface.
class IpHelperTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_home = open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
        if (m_home < 0 || unshare(CLONE_NEWNET) != 0)
            GTEST_SKIP() << "can't create a network namespace (root can): " << std::strerror(errno);
        m_moved = true;
        if (!RunIp("link add trial type veth peer name trial2\nlink del trial\n"))
            GTEST_SKIP() << "can't create a veth pair: the `ip` command or the kernel's veth is missing";
        if (QNetworkInterface::allInterfaces().size() != 1)
            GTEST_SKIP() << "this kernel adds more than the loopback interface to a new network namespace";
    }

    void TearDown() override
    {
        if (m_moved) {
            EXPECT_EQ(setns(m_home, CLONE_NEWNET), 0);
        }
        if (m_home >= 0)
            close(m_home);
    }

private:
    int m_home = -1;
    bool m_moved = false;
};

TEST_F(IpHelperTest, TheLoopbackInterfaceIsNotListed)
{
    ASSERT_TRUE(RunIp("link set lo up\naddr add 10.1.2.3/8 dev lo label lo:1\n"));
    std::vector<IP_ADAPTER_INFO> buffer(10);
    auto bytes = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));

    EXPECT_EQ(GetAdaptersInfo(buffer.data(), &bytes), ERROR_NO_DATA);
}

TEST_F(IpHelperTest, ABufferThatIsOneByteTooShortReturnsTheRequiredSize)
{
    constexpr std::size_t kAdapters = 12;
    std::string pairs;
    for (std::size_t pair = 0; pair < kAdapters / 2; ++pair)
        pairs += "link add type veth\n";
    ASSERT_TRUE(RunIp(pairs));
    const auto wanted = static_cast<ULONG>(kAdapters * sizeof(IP_ADAPTER_INFO));
    std::vector<IP_ADAPTER_INFO> buffer(kAdapters);
    ULONG bytes = wanted - 1;

    EXPECT_EQ(GetAdaptersInfo(buffer.data(), nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(GetAdaptersInfo(buffer.data(), &bytes), ERROR_BUFFER_OVERFLOW);

    EXPECT_EQ(bytes, wanted);
    EXPECT_EQ(NeededBytes(), wanted);
    EXPECT_THAT(Adapters(), SizeIs(kAdapters));
}

TEST_F(IpHelperTest, AdaptersAreListedByIndexWithTheirHardwareAddress)
{
    ASSERT_TRUE(RunIp("link add zoe index 40 address 02:00:00:00:ab:01 type veth "
                      "peer name amy index 30 address 02:00:00:00:ab:02\n"
                      "link add max index 20 address 02:00:00:00:ab:03 type veth "
                      "peer name bob index 100 address 02:00:00:00:ab:04\n"));

    const auto is = [](const char* name, const char* hardware, DWORD index) {
        return AllOf(Field(&SSeen::name, name), Field(&SSeen::hardwareAddress, hardware), Field(&SSeen::index, index),
                     Field(&SSeen::type, MIB_IF_TYPE_ETHERNET));
    };
    EXPECT_THAT(Adapters(), ElementsAre(is("max", "02-00-00-00-ab-03", 20), is("amy", "02-00-00-00-ab-02", 30),
                                        is("zoe", "02-00-00-00-ab-01", 40), is("bob", "02-00-00-00-ab-04", 100)));
}

TEST_F(IpHelperTest, AddressesOfAliasesBelongToTheirAdapterAndAnAdapterWithoutAnyHasZeros)
{
    ASSERT_TRUE(RunIp("link add east index 11 type veth peer name west index 12\n"
                      "addr add 10.0.0.2/8 dev east\n"
                      "addr add 172.16.5.1/16 dev east label east:1\n"
                      "addr add 192.168.255.254/25 dev east label east:2\n"));
    RunIp("addr add 2001:db8::1/64 dev west\n"); // refused where IPv6 is switched off

    const auto east = ElementsAre("10.0.0.2/255.0.0.0", "172.16.5.1/255.255.0.0", "192.168.255.254/255.255.255.128");
    const auto west = ElementsAre("0.0.0.0/0.0.0.0");
    EXPECT_THAT(Adapters(), ElementsAre(Field(&SSeen::addresses, east), Field(&SSeen::addresses, west)));
}

TEST_F(IpHelperTest, TheGatewayIsTakenFromTheDefaultRouteWithTheLowestMetric)
{
    ASSERT_TRUE(RunIp("link add east index 11 type veth peer name west index 12\n"
                      "link set east up\n"
                      "link set west up\n"
                      "addr add 10.0.0.2/24 dev east\n"
                      "addr add 10.0.1.2/24 dev west\n"
                      "route add default via 10.0.0.253 dev east metric 300\n"
                      "route add default via 10.0.0.254 dev east metric 200\n"
                      "route add 0.0.0.0/1 via 10.0.0.1 dev east\n"
                      "route add 10.9.0.0/16 via 10.0.1.1 dev west\n"
                      "route add default dev west metric 100\n"
                      "route add default dev east metric 50\n"));

    EXPECT_THAT(Adapters(), ElementsAre(Field(&SSeen::gateway, "10.0.0.254"), Field(&SSeen::gateway, "0.0.0.0")));
}

TEST_F(IpHelperTest, ATunnelWithoutAHardwareAddressIsListed)
{
    if (!RunIp("tuntap add tun0 mode tun\n"))
        GTEST_SKIP() << "can't create a tunnel: the kernel's tun device is missing";
    ASSERT_TRUE(RunIp("addr add 10.8.0.2/24 dev tun0\n"));

    const auto addresses = ElementsAre("10.8.0.2/255.255.255.0");
    EXPECT_THAT(Adapters(),
                ElementsAre(AllOf(Field(&SSeen::hardwareAddress, IsEmpty()), Field(&SSeen::addresses, addresses),
                                  Field(&SSeen::type, MIB_IF_TYPE_OTHER))));
}

} // namespace

#endif
