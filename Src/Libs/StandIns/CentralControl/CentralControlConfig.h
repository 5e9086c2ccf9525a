#pragma once

#include "Comm/ConfigBox.h"

#include <cstdint>
#include <string>

/// What the central-control server needs to know; the host sets it, since the module makes the server itself.
struct SCentralControlConfig {
    std::string listenAddress = "127.0.0.1";
};

namespace CentralControl {

constexpr std::uint16_t kPort = 25509;

/// Holds for servers that are made later.
CConfigBox<SCentralControlConfig>& Config();

} // namespace CentralControl
