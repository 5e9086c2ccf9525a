#pragma once

#include <asio/ip/address.hpp>
#include <asio/ip/tcp.hpp>

#include <string>

/// Returns the address as text. An IPv4-mapped IPv6 address (RFC 4291, 2.5.5.2) is returned in dotted IPv4 form: a
/// socket that serves both families reports IPv4 peers as mapped addresses, and a peer must have one name only.
inline std::string IpText(const asio::ip::address& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6()).to_string();
    return address.to_string();
}

/// Opens a closed acceptor, binds it to the endpoint and listens.
/// \return the error of the first step that fails, or no error
inline asio::error_code ListenAt(asio::ip::tcp::acceptor& acceptor, const asio::ip::tcp::endpoint& endpoint)
{
    asio::error_code error;
    acceptor.open(endpoint.protocol(), error);
#if !defined(_WIN32)
    // On Windows this option would let another program bind to the same port.
    if (!error)
        acceptor.set_option(asio::socket_base::reuse_address(true), error);
#endif
    if (!error)
        acceptor.bind(endpoint, error);
    if (!error)
        acceptor.listen(asio::socket_base::max_listen_connections, error);
    return error;
}
