#if defined(__linux__)

#include "Interfaces/IpHelper.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

/// One adapter as a caller sees it who walks the chains.
struct SSeen {
    std::string name;
    std::string hardwareAddress;
    std::vector<std::pair<std::string, std::string>> addresses;
    std::string gateway;
    DWORD index = 0;
    UINT type = 0;
};

std::string Hex(const BYTE* bytes, UINT length)
{
    std::string text;
    for (UINT i = 0; i < length; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02X-", static_cast<unsigned int>(bytes[i]));
        text += digits;
    }
    return text.substr(0, text.empty() ? 0 : text.size() - 1);
}

ULONG NeededBytes()
{
    ULONG bytes = 0;
    EXPECT_EQ(GetAdaptersInfo(nullptr, &bytes), ERROR_BUFFER_OVERFLOW);
    return bytes;
}

/// Reads into a buffer of just the needed size, which was not clean before.
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
        SSeen one{adapter->AdapterName,
                  Hex(adapter->Address, adapter->AddressLength),
                  {},
                  adapter->GatewayList.IpAddress.String,
                  adapter->Index,
                  adapter->Type};
        for (const IP_ADDR_STRING* address = &adapter->IpAddressList; address; address = address->Next)
            one.addresses.emplace_back(address->IpAddress.String, address->IpMask.String);
        seen.push_back(one);
    }
    return seen;
}

/// Lines for `ip -batch`; false when one of them failed.
bool RunIp(const std::string& lines)
{
    std::FILE* ip = popen("PATH=\"$PATH:/usr/sbin:/sbin\" exec ip -batch -", "w");
    if (!ip)
        return false;
    std::fputs(lines.c_str(), ip);
    return pclose(ip) == 0;
}

std::size_t CountInterfaces()
{
    struct if_nameindex* const first = if_nameindex();
    std::size_t count = 0;
    while (first && first[count].if_index != 0)
        ++count;
    if_freenameindex(first);
    return count;
}

/// Moves the test's thread, which is the process's first, to a network of its own that has loopback alone.
class IpHelperTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_home = open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
        if (m_home < 0 || unshare(CLONE_NEWNET) != 0)
            GTEST_SKIP() << "no network namespace can be made here (root makes one): " << std::strerror(errno);
        m_moved = true;
        if (!RunIp("link add trial type veth peer name trial2\nlink del trial\n"))
            GTEST_SKIP() << "no veth pair can be made here: the `ip` command or the kernel's veth is missing";
        if (CountInterfaces() != 1)
            GTEST_SKIP() << "this kernel puts more than loopback into a new network namespace";
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

class IpHelperCountTest : public IpHelperTest, public testing::WithParamInterface<unsigned int> {};

TEST(IpHelper, ASizeIsAskedFor)
{
    IP_ADAPTER_INFO adapter{};

    EXPECT_EQ(GetAdaptersInfo(&adapter, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(IpHelperTest, LoopbackAloneIsNoAdapter)
{
    ASSERT_TRUE(RunIp("link set lo up\naddr add 10.1.2.3/8 dev lo label lo:1\n"));
    std::vector<IP_ADAPTER_INFO> buffer(10);
    auto bytes = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));

    EXPECT_EQ(GetAdaptersInfo(buffer.data(), &bytes), ERROR_NO_DATA);
}

TEST_P(IpHelperCountTest, ABufferOneByteShortIsAnsweredWithTheSizeOfEveryRecord)
{
    std::ostringstream pairs;
    for (unsigned int pair = 0; pair < GetParam() / 2; ++pair)
        pairs << "link add east" << pair << " type veth peer name west" << pair << "\n";
    ASSERT_TRUE(RunIp(pairs.str()));
    const auto wanted = static_cast<ULONG>(GetParam() * sizeof(IP_ADAPTER_INFO));
    std::vector<IP_ADAPTER_INFO> buffer(GetParam());
    ULONG bytes = wanted - 1;

    EXPECT_EQ(GetAdaptersInfo(buffer.data(), &bytes), ERROR_BUFFER_OVERFLOW);

    EXPECT_EQ(bytes, wanted);
    EXPECT_EQ(NeededBytes(), wanted);
    EXPECT_THAT(Adapters(), SizeIs(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Adapters, IpHelperCountTest, testing::Values(2u, 12u));

TEST_F(IpHelperTest, AdaptersComeInTheOrderOfTheirIndexWithTheirHardwareAddress)
{
    ASSERT_TRUE(RunIp("link add zoe index 40 address 02:00:00:00:ab:01 type veth "
                      "peer name amy index 30 address 02:00:00:00:ab:02\n"
                      "link add max index 20 address 02:00:00:00:ab:03 type veth "
                      "peer name bob index 100 address 02:00:00:00:ab:04\n"));

    const std::vector<SSeen> seen = Adapters();

    const auto is = [](const char* name, const char* hardware, DWORD index) {
        return AllOf(Field(&SSeen::name, name), Field(&SSeen::hardwareAddress, hardware), Field(&SSeen::index, index),
                     Field(&SSeen::type, MIB_IF_TYPE_ETHERNET));
    };
    EXPECT_THAT(seen, ElementsAre(is("max", "02-00-00-00-AB-03", 20), is("amy", "02-00-00-00-AB-02", 30),
                                  is("zoe", "02-00-00-00-AB-01", 40), is("bob", "02-00-00-00-AB-04", 100)));
}

TEST_F(IpHelperTest, AddressesOfAliasesAreChainedToTheirAdapter)
{
    ASSERT_TRUE(RunIp("link add east type veth peer name west\n"
                      "addr add 10.0.0.2/8 dev east\n"
                      "addr add 172.16.5.1/16 dev east label east:1\n"
                      "addr add 192.168.255.254/25 dev east label east:2\n"
                      "addr add 192.0.2.1/32 dev west\n"));

    const std::vector<SSeen> seen = Adapters();

    const auto east = ElementsAre(Pair("10.0.0.2", "255.0.0.0"), Pair("172.16.5.1", "255.255.0.0"),
                                  Pair("192.168.255.254", "255.255.255.128"));
    const auto west = ElementsAre(Pair("192.0.2.1", "255.255.255.255"));
    EXPECT_THAT(seen, UnorderedElementsAre(AllOf(Field(&SSeen::name, "east"), Field(&SSeen::addresses, east)),
                                           AllOf(Field(&SSeen::name, "west"), Field(&SSeen::addresses, west))));
}

TEST_F(IpHelperTest, AnAdapterWithoutAnIpv4AddressHasZeros)
{
    ASSERT_TRUE(RunIp("link add east type veth peer name west\n"));
    RunIp("addr add 2001:db8::1/64 dev east\n"); // refused where IPv6 is switched off

    const auto zeros = ElementsAre(Pair("0.0.0.0", "0.0.0.0"));
    EXPECT_THAT(Adapters(), Each(AllOf(Field(&SSeen::addresses, zeros), Field(&SSeen::gateway, "0.0.0.0"))));
}

TEST_F(IpHelperTest, TheGatewayIsThatOfTheDefaultRouteWithTheLowestMetric)
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
        GTEST_SKIP() << "no tunnel can be made here: the kernel's tun device is missing";
    ASSERT_TRUE(RunIp("addr add 10.8.0.2/24 dev tun0\n"));

    const auto addresses = ElementsAre(Pair("10.8.0.2", "255.255.255.0"));
    EXPECT_THAT(Adapters(),
                ElementsAre(AllOf(Field(&SSeen::hardwareAddress, IsEmpty()), Field(&SSeen::addresses, addresses),
                                  Field(&SSeen::type, MIB_IF_TYPE_OTHER))));
}

} // namespace

#endif
