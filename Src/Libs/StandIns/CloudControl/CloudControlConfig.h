#pragma once

#include "Comm/ConfigBox.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

/// Configuration of the cloud client. The host sets it in advance, because the module creates the client.
struct SCloudControlConfig {
    std::string url = "wss://127.0.0.1:25511"; ///< "wss://host:port" or "ws://host:port"; a path is ignored
    std::string caFile;                        ///< PEM file of trusted certificates; empty: the system's certificates
    bool verifiesPeer = true;                  ///< false: every certificate is accepted
    std::chrono::milliseconds firstPause{500}; ///< before connecting again; doubled after each failure
    std::chrono::milliseconds longestPause{30'000};
    std::chrono::milliseconds pingPeriod{10'000}; ///< a service that does not reply within it is disconnected
};

namespace CloudControl {

constexpr std::uint16_t kDefaultPort = 25511;
/// Maximum size of the queued replies while the service is slow or not connected.
constexpr std::size_t kMaxQueuedBytes = std::size_t{64} << 20;
/// Longer commands are ignored.
constexpr std::size_t kMaxCommandBytes = std::size_t{4} << 20;
/// A longer frame or message closes the connection before it is received completely.
constexpr std::size_t kMaxMessageBytes = 4 * kMaxCommandBytes;
/// Maximum number and size of the commands that wait for the current one; further ones are dropped.
constexpr std::size_t kMaxWaitingCommands = 64;
constexpr std::size_t kMaxWaitingBytes = 4 * kMaxCommandBytes;

/// The configuration; a change applies to connections that are opened afterwards.
CConfigBox<SCloudControlConfig>& Config();

/// Handles a text frame as if the cloud service had sent it, on another thread. The service receives the replies. Any
/// thread.
/// \param note in the traffic record of the frame
/// \return false if there is no connection to the service
bool Receive(const std::string& frame, const std::string& note);
/// Ends the connection to the cloud service. The client connects again. Any thread.
void Disconnect();

} // namespace CloudControl
