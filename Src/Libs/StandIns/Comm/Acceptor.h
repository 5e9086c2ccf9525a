#pragma once

#include <asio/ip/tcp.hpp>

/// Makes a closed acceptor listen at this end; returns why it can't.
inline asio::error_code ListenAt(asio::ip::tcp::acceptor& acceptor, const asio::ip::tcp::endpoint& endpoint)
{
    asio::error_code error;
    acceptor.open(endpoint.protocol(), error);
#if !defined(_WIN32)
    // There the option would let another program take the port away.
    if (!error)
        acceptor.set_option(asio::socket_base::reuse_address(true), error);
#endif
    if (!error)
        acceptor.bind(endpoint, error);
    if (!error)
        acceptor.listen(asio::socket_base::max_listen_connections, error);
    return error;
}
