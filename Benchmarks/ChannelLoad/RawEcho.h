#pragma once

#include "ChannelLoad/ChildProcess.h"
#include "ChannelLoad/Connection.h"

/// The minimum work of a server, for comparison: one thread, level-triggered epoll, one read and one write for all
/// available requests; for datagrams a blocking recvfrom. It doesn't parse: it sends one reply for each received
/// request length.
class CRawEcho {
public:
    /// Starts a server that listens on a free port of the address.
    CRawEcho(const std::string& ip, const SExchange& exchange);

    const CChildProcess& Process() const { return m_process; }
    const sockaddr_in& Address() const { return m_address; }

private:
    CRawEcho(CDescriptor listener, const SExchange& exchange);

    const sockaddr_in m_address;
    CChildProcess m_process;
};
