#pragma once

#include <asio/ip/address.hpp>

#include <string>

/// Returns the address as text. An IPv4-mapped IPv6 address (RFC 4291, 2.5.5.2) is returned in dotted IPv4 form: a
/// socket that serves both families reports IPv4 peers as mapped addresses, and a peer must have one name only.
inline std::string IpText(const asio::ip::address& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string();
    return address.to_string();
}
