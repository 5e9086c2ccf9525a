#include "Interfaces/IpHelper.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <ios>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Windows returns this for an adapter without an address or without a gateway.
constexpr char kNoAddress[] = "0.0.0.0";

struct SAddress {
    std::string address = kNoAddress;
    std::string mask = kNoAddress;
};

struct SAdapter {
    std::string name;
    UINT type = MIB_IF_TYPE_OTHER;
    std::vector<BYTE> hardwareAddress;
    std::vector<SAddress> addresses;
    std::string gateway = kNoAddress;
};

/// Adapters by interface index. They are listed in this order.
using Adapters = std::map<unsigned int, SAdapter>;

std::string Text(in_addr address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof(text));
    return text;
}

std::string Text(const sockaddr* address)
{
    return address ? Text(reinterpret_cast<const sockaddr_in*>(address)->sin_addr) : kNoAddress;
}

void ReadEntry(const ifaddrs& entry, SAdapter& adapter)
{
    // An entry may describe an interface without an address.
    if (!entry.ifa_addr)
        return;
    if (entry.ifa_addr->sa_family == AF_INET)
        adapter.addresses.push_back({Text(entry.ifa_addr), Text(entry.ifa_netmask)});
    if (entry.ifa_addr->sa_family == AF_PACKET) {
        const auto* link = reinterpret_cast<const sockaddr_ll*>(entry.ifa_addr);
        const auto length = std::min<std::size_t>(link->sll_halen, MAX_ADAPTER_ADDRESS_LENGTH);
        adapter.hardwareAddress.assign(link->sll_addr, link->sll_addr + length);
        adapter.type = link->sll_hatype == ARPHRD_ETHER ? MIB_IF_TYPE_ETHERNET : MIB_IF_TYPE_OTHER;
    }
}

/// Reads the default gateway of each adapter. The kernel lists the routes to a destination in order of increasing
/// metric, so the first route with a gateway is used. A route without a gateway has 0.0.0.0 in its column.
void ReadGateways(Adapters& adapters)
{
    std::ifstream routes("/proc/net/route");
    std::string line;
    std::getline(routes, line); // the column titles
    while (std::getline(routes, line)) {
        std::istringstream columns(line);
        std::string name;
        in_addr destination{};
        in_addr gateway{};
        in_addr mask{};
        std::string flags, references, uses, metric;
        // The kernel prints the addresses as they are in memory, so they are in network byte order.
        columns >> name >> std::hex >> destination.s_addr >> gateway.s_addr;
        columns >> flags >> references >> uses >> metric >> mask.s_addr;
        if (!columns || destination.s_addr != 0 || mask.s_addr != 0)
            continue;
        const auto adapter = adapters.find(if_nametoindex(name.c_str()));
        if (adapter != adapters.end() && adapter->second.gateway == kNoAddress)
            adapter->second.gateway = Text(gateway);
    }
}

std::optional<Adapters> ReadAdapters()
{
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0)
        return std::nullopt;
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, freeifaddrs);

    Adapters adapters;
    for (const ifaddrs* entry = first; entry; entry = entry->ifa_next) {
        // "eth0:1" is the label of an additional address of eth0.
        const std::string label = entry->ifa_name;
        const std::string name = label.substr(0, label.find(':'));
        const unsigned int index = if_nametoindex(name.c_str());
        if (index == 0 || (entry->ifa_flags & IFF_LOOPBACK) != 0)
            continue;
        SAdapter& adapter = adapters[index];
        adapter.name = name;
        ReadEntry(*entry, adapter);
    }
    ReadGateways(adapters);
    return adapters;
}

/// Size of the records, which are followed by the additional addresses of all adapters.
ULONG NeededBytes(const Adapters& adapters)
{
    std::size_t bytes = 0;
    for (const auto& [index, adapter] : adapters) {
        const std::size_t further = std::max<std::size_t>(adapter.addresses.size(), 1) - 1;
        bytes += sizeof(IP_ADAPTER_INFO) + further * sizeof(IP_ADDR_STRING);
    }
    return static_cast<ULONG>(bytes);
}

template <std::size_t size>
void Put(char (&field)[size], const std::string& text)
{
    std::snprintf(field, size, "%s", text.c_str());
}

void Put(IP_ADDR_STRING& field, const SAddress& address)
{
    Put(field.IpAddress.String, address.address);
    Put(field.IpMask.String, address.mask);
}

/// Fills one record. Creates the additional addresses at furtherAddress and advances the pointer past them.
void FillRecord(IP_ADAPTER_INFO& record, unsigned int index, const SAdapter& adapter, IP_ADDR_STRING*& furtherAddress)
{
    Put(record.AdapterName, adapter.name);
    Put(record.Description, adapter.name);
    record.Index = index;
    record.Type = adapter.type;
    record.AddressLength = static_cast<UINT>(adapter.hardwareAddress.size());
    std::copy(adapter.hardwareAddress.begin(), adapter.hardwareAddress.end(), record.Address);
    Put(record.GatewayList, {adapter.gateway, kNoAddress});

    Put(record.IpAddressList, adapter.addresses.empty() ? SAddress() : adapter.addresses.front());
    IP_ADDR_STRING* last = &record.IpAddressList;
    for (std::size_t i = 1; i < adapter.addresses.size(); ++i) {
        last->Next = new (furtherAddress++) IP_ADDR_STRING{};
        last = last->Next;
        Put(*last, adapter.addresses[i]);
    }
}

} // namespace

ULONG GetAdaptersInfo(PIP_ADAPTER_INFO adapters, PULONG bytes)
{
    if (!bytes)
        return ERROR_INVALID_PARAMETER;
    const std::optional<Adapters> found = ReadAdapters();
    if (!found)
        return ERROR_NOT_SUPPORTED;
    if (found->empty())
        return ERROR_NO_DATA;
    const ULONG needed = NeededBytes(*found);
    if (!adapters || *bytes < needed) {
        *bytes = needed;
        return ERROR_BUFFER_OVERFLOW;
    }

    auto* furtherAddress = reinterpret_cast<IP_ADDR_STRING*>(adapters + found->size());
    IP_ADAPTER_INFO* previous = nullptr;
    for (const auto& [index, adapter] : *found) {
        auto* record = new (previous ? previous + 1 : adapters) IP_ADAPTER_INFO{};
        FillRecord(*record, index, adapter, furtherAddress);
        if (previous)
            previous->Next = record;
        previous = record;
    }
    return NO_ERROR;
}
