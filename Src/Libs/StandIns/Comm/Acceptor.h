#pragma once

#include <asio/ip/tcp.hpp>

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
