#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// "ip:port", as events carry it; an IPv6 address stands in brackets.
inline std::string AddressText(const std::string& ip, std::uint16_t port)
{
    return (ip.find(':') == std::string::npos ? ip : '[' + ip + ']') + ':' + std::to_string(port);
}

/// What happens on a channel, for people to read.
struct SChannelEvent {
    enum class Kind {
        Listening, ///< the channel is up; text is its address
        Failed,    ///< the channel can't come up; text says why
        Connected,
        Closed, ///< text says why
        Received,
        Sent,
        Note,
    };

    Kind kind;
    std::string channel;
    std::string peer; ///< "ip:port", or empty
    std::string text;
};

/// Where the stand-in channels tell their events. The sink runs on the channels' threads, several at a time.
class CChannelEvents {
public:
    using Sink = std::function<void(const SChannelEvent&)>;

    static CChannelEvents& GetInstance();

    /// Every packet is an event only with traffic on: it costs a line of text each.
    void SetSink(Sink sink, bool traffic);
    bool WantsTraffic() const { return m_traffic.load(std::memory_order_relaxed); }
    void Publish(const SChannelEvent& event);

private:
    std::mutex m_mutex;
    std::shared_ptr<const Sink> m_sink;
    std::atomic<bool> m_traffic{false};
};
