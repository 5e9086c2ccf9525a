#pragma once

#include "ChannelLoad/ChildProcess.h"
#include "ChannelLoad/Connection.h"

#include <optional>

/// One of the two servers, while it runs.
struct SServer {
    const CChildProcess* process;
    sockaddr_in address;
};

/// What one server did in one case of one round.
struct SLoad {
    double requestsPerSecond = 0;
    double cpuMicroseconds = 0; ///< of the server, for one request
    double coreShare = 0;       ///< how much of the core's time server and client had
    /// Of many connections: requests of the slowest as a part of the median one's.
    std::optional<double> slowestOfMedian;
};

/// The client's loops. Each opens its connections, warms up, measures for so many seconds and throws at a wrong answer.
namespace Cases {

constexpr std::size_t kInFlight = 64;
constexpr std::size_t kIdleConnections = 200;
constexpr std::size_t kBusyConnections = 100;

SLoad OneAtATime(const SServer& server, const SExchange& exchange, double seconds);
/// The same beside connections that say nothing.
SLoad OneAtATimeBesideIdle(const SServer& server, const SExchange& exchange, double seconds);
/// One connection with many requests under way.
SLoad InFlight(const SServer& server, const SExchange& exchange, double seconds);
/// Many connections from one loop, each with one request under way.
SLoad ManyConnections(const SServer& server, const SExchange& exchange, double seconds);

} // namespace Cases
