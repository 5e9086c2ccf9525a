#pragma once

// The part of the Windows IP Helper API that the module calls. On other platforms this header declares the same names
// and the same record, and StandIns/Platform implements them, so that the algorithm is the same everywhere.

#if defined(_WIN32)
#include <winsock2.h>

#include <iphlpapi.h>
#else

#include <cstddef>
#include <cstdint>

using BOOL = std::int32_t;
using BYTE = std::uint8_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using PULONG = ULONG*;

constexpr ULONG NO_ERROR = 0;
constexpr ULONG ERROR_NOT_SUPPORTED = 50;
constexpr ULONG ERROR_INVALID_PARAMETER = 87;
constexpr ULONG ERROR_BUFFER_OVERFLOW = 111;
constexpr ULONG ERROR_NO_DATA = 232;

constexpr UINT MIB_IF_TYPE_OTHER = 1;
constexpr UINT MIB_IF_TYPE_ETHERNET = 6;

constexpr std::size_t MAX_ADAPTER_NAME_LENGTH = 256;
constexpr std::size_t MAX_ADAPTER_DESCRIPTION_LENGTH = 128;
constexpr std::size_t MAX_ADAPTER_ADDRESS_LENGTH = 8;

struct IP_ADDRESS_STRING {
    char String[16];
};
using IP_MASK_STRING = IP_ADDRESS_STRING;

struct IP_ADDR_STRING {
    IP_ADDR_STRING* Next;
    IP_ADDRESS_STRING IpAddress;
    IP_MASK_STRING IpMask;
    DWORD Context;
};

struct IP_ADAPTER_INFO {
    IP_ADAPTER_INFO* Next;
    DWORD ComboIndex;
    char AdapterName[MAX_ADAPTER_NAME_LENGTH + 4];
    char Description[MAX_ADAPTER_DESCRIPTION_LENGTH + 4];
    UINT AddressLength;
    BYTE Address[MAX_ADAPTER_ADDRESS_LENGTH];
    DWORD Index;
    UINT Type;
    UINT DhcpEnabled;
    IP_ADDR_STRING* CurrentIpAddress;
    IP_ADDR_STRING IpAddressList;
    IP_ADDR_STRING GatewayList;
    IP_ADDR_STRING DhcpServer;
    BOOL HaveWins;
    IP_ADDR_STRING PrimaryWinsServer;
    IP_ADDR_STRING SecondaryWinsServer;
    std::int64_t LeaseObtained;
    std::int64_t LeaseExpires;
};
using PIP_ADAPTER_INFO = IP_ADAPTER_INFO*;

// How many adapters fit into a caller's fixed buffer depends on the record's size.
static_assert(sizeof(void*) != 8 || (sizeof(IP_ADDR_STRING) == 48 && sizeof(IP_ADAPTER_INFO) == 704));

/// Fills the buffer with a linked list of the adapters except loopback. Returns ERROR_BUFFER_OVERFLOW and sets the size
/// that is needed if the buffer is too small or null, ERROR_NO_DATA if no adapter exists.
ULONG GetAdaptersInfo(PIP_ADAPTER_INFO adapters, PULONG bytes);

#endif
