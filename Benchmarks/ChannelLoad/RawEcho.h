#pragma once

#include "ChannelLoad/ChildProcess.h"
#include "ChannelLoad/Connection.h"

/// The least that a server can do on this machine: one thread, level-triggered epoll, one read and one write for what
/// is at hand; for datagrams one that waits in recvfrom. It looks at no byte: for each request's length that arrives,
/// the reply goes out.
class CRawEcho {
public:
    /// Listens on a free port of the address.
    CRawEcho(const std::string& ip, const SExchange& exchange);

    const CChildProcess& Process() const { return m_process; }
    const sockaddr_in& Address() const { return m_address; }

private:
    CRawEcho(CDescriptor listener, const SExchange& exchange);

    const sockaddr_in m_address;
    CChildProcess m_process;
};
