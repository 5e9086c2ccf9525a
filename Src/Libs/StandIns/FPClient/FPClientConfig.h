#pragma once

#include "Comm/ConfigBox.h"
#include "Comm/TcpClient.h"

#include <cstdint>
#include <string>

namespace FPClient {

constexpr char kDefaultHost[] = "127.0.0.1";
constexpr std::uint16_t kDefaultPort = 25510;

} // namespace FPClient

/// Where the FP controller is; the host sets it, since the module makes the client itself.
struct SFPClientConfig {
    std::string host = FPClient::kDefaultHost; ///< an address or a name
    std::uint16_t port = FPClient::kDefaultPort;
    CTcpClient::STimeouts timeouts;
};

namespace FPClient {

/// Holds for clients that are made later.
CConfigBox<SFPClientConfig>& Config();

} // namespace FPClient
