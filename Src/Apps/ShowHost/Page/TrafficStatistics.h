#pragma once

#include "ShowHost/Page/TrafficRing.h"

#include <QByteArray>
#include <QJsonObject>

#include <array>
#include <map>
#include <string>
#include <tuple>
#include <utility>

/// Counts the records of a ring by channel, message and connection. On one thread only.
class CTrafficStatistics {
public:
    explicit CTrafficStatistics(const CTrafficRing& ring) : m_ring(ring) {}

    /// Counts the records that the ring has stored since the last call. Returns their number.
    std::size_t Update();
    /// The channels and the connections that are open; see remotes.js.
    QJsonObject Remotes() const;
    /// The counters in the text format of Prometheus.
    QByteArray Metrics() const;

private:
    using Clock = std::chrono::system_clock;
    struct SChannel {
        std::string address;
        std::string note; ///< the last one
        Clock::time_point noteTime;
        std::uint64_t opened = 0;
    };
    struct SConnection {
        std::string user; ///< who has logged in
        Clock::time_point since;
        Clock::time_point lastMessage;
        Clock::time_point lastHeartbeat;
        std::uint64_t requests = 0;
        std::uint64_t errors = 0;
        std::uint64_t received = 0; ///< bytes
        std::uint64_t sent = 0;     ///< bytes
    };
    struct SCounter {
        std::uint64_t messages = 0;
        std::uint64_t bytes = 0;
        std::uint64_t errors = 0;
    };
    /// The channel, the number and the peer. Datagrams of one peer count as a connection, with the number 0.
    using ConnectionKey = std::tuple<TrafficChannel, std::uint64_t, std::string>;
    static constexpr std::array<double, 8> kLatencyBounds{0.0005, 0.001, 0.005, 0.01, 0.05, 0.1, 0.5, 1}; ///< seconds

    void Count(const STrafficRecord& record);
    CTrafficRing::Record Find(std::uint64_t number) const;
    void CountMessage(const STrafficRecord& record);
    void CountReply(const STrafficRecord& reply, SConnection& connection, SCounter& counter);

    const CTrafficRing& m_ring;
    std::uint64_t m_position = 0;
    /// The newest records, each at its number modulo the size: a search in the ring is slow.
    std::array<CTrafficRing::Record, 256> m_newest;
    std::uint64_t m_dropped = 0; ///< records that the ring had discarded before they were counted
    std::map<TrafficChannel, SChannel> m_channels;
    std::map<ConnectionKey, SConnection> m_connections;
    std::map<std::string, std::string> m_deviceStates; ///< the last event of each device, by its address
    std::map<std::pair<TrafficChannel, std::uint32_t>, SCounter> m_counters; ///< by channel and code
    std::array<std::uint64_t, kLatencyBounds.size() + 1> m_latencies{};
    double m_latencySum = 0; ///< seconds
    std::uint64_t m_uploads = 0;
};
