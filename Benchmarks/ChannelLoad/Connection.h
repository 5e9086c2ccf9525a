#pragma once

#include "ChannelLoad/Syscall.h"
#include "ExternalController/Common/Command.h"

#include <cstddef>
#include <string>
#include <string_view>

#include <netinet/in.h>

/// The one request that is sent over and over, and the one right reply.
struct SExchange {
    bool isDatagram = false; ///< UDP: request and reply are one datagram each
    std::string request;
    std::string reply;
};

/// Throws unless the text is a dotted IPv4 address.
sockaddr_in MakeAddress(const std::string& ip, std::uint16_t port);

/// A request of the app protocol, as one whole envelope.
std::string MakeAppRequest(Command::Code code, std::string_view body);
/// Sends the request once and returns the reply if it is a right one: a JSON object that has the key, and from the
/// app's channel in an envelope with the request's code.
std::string AskForReply(const std::string& name, const sockaddr_in& address, const SExchange& exchange,
                        const std::string& key);

/// One client connection. What arrives is compared, byte for byte, with the reply repeated.
class CConnection {
public:
    /// Name and exchange must outlive it.
    CConnection(const std::string& name, const sockaddr_in& address, const SExchange& exchange);

    int Descriptor() const { return m_socket.Get(); }
    /// Sends whole requests.
    void Send(std::string_view requests);
    /// Waits until something has arrived; returns how many replies are complete with it.
    std::size_t ReceiveReplies();
    /// Sends one request and waits for its reply.
    void Exchange();

private:
    const std::string& m_name;
    const SExchange& m_exchange;
    CDescriptor m_socket;
    std::size_t m_ofReply = 0; ///< how much of the next reply has arrived
};
