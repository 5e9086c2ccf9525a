#pragma once

#include "Comm/ConfigBox.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

/// Where the cloud service is and how long to wait for it; the host sets it, since the module makes the client itself.
struct SCloudControlConfig {
    std::string url = "wss://127.0.0.1:25511"; ///< "wss://host:port" or "ws://host:port"; a path in it is not used
    std::string caFile;       ///< PEM certificates that are trusted instead of the system's; empty: the system's
    bool verifiesPeer = true; ///< off: any certificate will do
    std::chrono::milliseconds firstPause{500};
    std::chrono::milliseconds longestPause{30'000};
    std::chrono::milliseconds pingPeriod{10'000}; ///< one that doesn't answer for as long is taken for dead
};

namespace CloudControl {

constexpr char kChannelName[] = "cloud"; ///< in the log
constexpr std::uint16_t kDefaultPort = 25511;
/// What waits for a cloud that is slow or away.
constexpr std::size_t kMaxQueuedBytes = std::size_t{64} << 20;
/// A longer command is ignored.
constexpr std::size_t kMaxCommandBytes = std::size_t{4} << 20;
/// A longer frame or message isn't received to its end: the connection is closed.
constexpr std::size_t kMaxMessageBytes = 4 * kMaxCommandBytes;
/// Commands that wait for the current one, and the text of them; more are dropped.
constexpr std::size_t kMaxWaitingCommands = 64;
constexpr std::size_t kMaxWaitingBytes = 4 * kMaxCommandBytes;

/// Holds for connections that are made later.
CConfigBox<SCloudControlConfig>& Config();

} // namespace CloudControl
