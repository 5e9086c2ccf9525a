#pragma once

#include "ChannelLoad/ChildProcess.h"
#include "ChannelLoad/Connection.h"

#include <optional>

/// One of the two running servers.
struct SServer {
    const CChildProcess* process;
    sockaddr_in address;
};

/// The results of one server in one case of one round.
struct SLoad {
    double requestsPerSecond = 0;
    double cpuMicroseconds = 0; ///< of the server, for one request
    double coreShare = 0;       ///< share of the core's time that server and client used
    /// With many connections: the slowest connection's requests divided by the median connection's.
    std::optional<double> slowestOfMedian;
};

/// The client's loops. Each opens its connections, warms up, measures for this many seconds and throws on a wrong
/// reply.
namespace Cases {

constexpr std::size_t kInFlight = 64;
constexpr std::size_t kIdleConnections = 200;
constexpr std::size_t kBusyConnections = 100;

SLoad OneAtATime(const SServer& server, const SExchange& exchange, double seconds);
/// The same with additional idle connections.
SLoad OneAtATimeBesideIdle(const SServer& server, const SExchange& exchange, double seconds);
/// The same while the host shows the traffic on a stage page, which reads it. The raw echo has no page.
SLoad OneAtATimeBesidePage(const SServer& server, const SExchange& exchange, double seconds);
/// One connection with many pending requests.
SLoad InFlight(const SServer& server, const SExchange& exchange, double seconds);
/// Many connections in one loop, each with one pending request.
SLoad ManyConnections(const SServer& server, const SExchange& exchange, double seconds);

} // namespace Cases
