#pragma once

#include "Comm/ConfigBox.h"

#include <cstdint>
#include <string>

/// What the app server needs to know before it starts; the host sets it, since the module makes the server itself.
struct SAppServerConfig {
    std::string listenAddress = "127.0.0.1";
    std::string ftpUser;
    std::string ftpPassword;
    std::string uploadFolder;
};

namespace AppServer {

constexpr std::uint16_t kDiscoveryPort = 25505;
constexpr std::uint16_t kFtpPort = 25521;
constexpr std::uint16_t kFirstPassivePort = 25530;
constexpr std::uint16_t kLastPassivePort = 25549;

/// Holds for servers that are started later.
CConfigBox<SAppServerConfig>& Config();

} // namespace AppServer
