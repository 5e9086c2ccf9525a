#pragma once

#include "Comm/ConfigBox.h"
#include "Comm/TcpClient.h"

#include <cstdint>
#include <string>

namespace FPClient {

constexpr char kDefaultHost[] = "127.0.0.1";
constexpr std::uint16_t kDefaultPort = 25510;

} // namespace FPClient

/// Configuration of the FP client. The host sets it in advance, because the module creates the client.
struct SFPClientConfig {
    std::string host = FPClient::kDefaultHost; ///< an IP address or a host name
    std::uint16_t port = FPClient::kDefaultPort;
    CTcpClient::STimeouts timeouts;
};

namespace FPClient {

/// The configuration; a change applies to clients that are created afterwards.
CConfigBox<SFPClientConfig>& Config();

/// Handles an envelope as if the connected FP controller had sent it, on another thread. The controller receives the
/// replies. Any thread.
/// \param note in the traffic record of the envelope
/// \return false if no FP controller is connected
bool Receive(std::string envelope, const std::string& note);
/// Closes the connection to the FP controller. The client connects again. Any thread.
void Disconnect();

} // namespace FPClient
