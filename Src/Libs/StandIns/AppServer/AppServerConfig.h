#pragma once

#include "Comm/ConfigBox.h"

#include <cstdint>
#include <string>

/// Configuration of the app server. The host sets it in advance, because the module creates the server.
struct SAppServerConfig {
    std::string listenAddress = "127.0.0.1"; ///< IP address of all channels
    std::string ftpUser;
    std::string ftpPassword;
    std::string uploadFolder; ///< created if it does not exist
};

namespace AppServer {

constexpr std::uint16_t kDiscoveryPort = 25505;
constexpr std::uint16_t kFtpPort = 25521;
constexpr std::uint16_t kFirstPassivePort = 25530;
constexpr std::uint16_t kLastPassivePort = 25549;

/// Sends an empty message with this code to the control channel of all apps, as the module does. Any thread.
void SendToApps(std::uint32_t code);
/// Closes the control and the bulk connection of the app that has a connection from this address, or the FTP session of
/// this address. Any thread.
void Disconnect(const std::string& ip, std::uint16_t port);

/// The configuration; a change applies to servers that are started afterwards.
CConfigBox<SAppServerConfig>& Config();

} // namespace AppServer
