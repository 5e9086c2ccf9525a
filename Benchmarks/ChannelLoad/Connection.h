#pragma once

#include "ChannelLoad/Syscall.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <netinet/in.h>

namespace Command {
enum Code : int;
}

/// The request that is sent repeatedly, and its expected reply.
struct SExchange {
    bool isDatagram = false; ///< UDP: request and reply are one datagram each
    std::string request;
    std::string reply;
};

/// Throws if the text is not a dotted IPv4 address.
sockaddr_in MakeAddress(const std::string& ip, std::uint16_t port);

/// Returns a request of the app protocol as one complete envelope.
std::string MakeAppRequest(Command::Code code, std::string_view body);
/// Sends the request once and returns the reply. Throws if the reply is not a JSON object with the key, or on the app's
/// channel not in an envelope with the request's code.
std::string AskForReply(const std::string& name, const sockaddr_in& address, const SExchange& exchange,
                        const std::string& key);

/// One client connection. Received bytes are compared with repetitions of the expected reply.
class CConnection {
public:
    /// Name and exchange must outlive it.
    CConnection(const std::string& name, const sockaddr_in& address, const SExchange& exchange);

    int Descriptor() const { return m_socket.Get(); }
    /// Sends complete requests.
    void Send(std::string_view requests);
    /// Waits for data; returns how many replies it completes.
    std::size_t ReceiveReplies();
    /// Sends one request and waits for its reply.
    void Exchange();

private:
    const std::string& m_name;
    const SExchange& m_exchange;
    CDescriptor m_socket;
    std::size_t m_ofReply = 0; ///< how much of the next reply has arrived
};
