#pragma once

#include "Comm/ConfigBox.h"

#include <cstdint>
#include <string>

/// Configuration of the central-control server. The host sets it in advance, because the module creates the server.
struct SCentralControlConfig {
    std::string listenAddress = "127.0.0.1"; ///< IP address to bind to
};

namespace CentralControl {

constexpr std::uint16_t kPort = 25509;

/// The configuration; a change applies to servers that are created afterwards.
CConfigBox<SCentralControlConfig>& Config();

} // namespace CentralControl
