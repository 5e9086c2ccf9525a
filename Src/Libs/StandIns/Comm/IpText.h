#pragma once

#include <asio/ip/address.hpp>

#include <string>

/// The address as text. An IPv4-mapped IPv6 address (RFC 4291, 2.5.5.2), which is how a socket that serves both
/// families sees IPv4 peers, is given in the dotted form of IPv4: a peer has one name whatever the host listens on.
inline std::string IpText(const asio::ip::address& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string();
    return address.to_string();
}
