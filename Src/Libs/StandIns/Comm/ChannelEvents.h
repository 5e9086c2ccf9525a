#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

/// Returns "ip:port", the form that events use. An IPv6 address is put in brackets (RFC 3986, 3.2.2).
inline std::string AddressText(const std::string& ip, std::uint16_t port)
{
    return (ip.find(':') == std::string::npos ? ip : '[' + ip + ']') + ':' + std::to_string(port);
}

/// An event of a channel, for the log.
struct SChannelEvent {
    enum class Kind {
        Listening, ///< the channel accepts data; text is its address
        Failed,    ///< the channel could not be started; text is the reason
        Connected,
        Closed, ///< text is the reason
        Received,
        Sent,
        Note,
    };

    Kind kind;
    std::string channel;
    std::string peer; ///< "ip:port" or a port name; may be empty
    std::string text;
};

/// Receives the events of all stand-in channels and passes them to one sink. Any thread.
/// The sink runs on the channels' threads and may be called by several of them at the same time.
class CChannelEvents {
public:
    using Sink = std::function<void(const SChannelEvent&)>;

    static CChannelEvents& GetInstance();

    /// Sets the sink; an empty one discards all events.
    /// \param traffic whether each packet is published as well, which costs formatting one line of text per packet
    void SetSink(Sink sink, bool traffic);
    /// Whether packets are to be published. Check it before formatting the text of a packet.
    bool WantsTraffic() const { return m_traffic.load(std::memory_order_relaxed); }
    /// Passes the event to the sink, if there is one.
    void Publish(const SChannelEvent& event);

private:
    std::mutex m_mutex;
    std::shared_ptr<const Sink> m_sink;
    std::atomic<bool> m_traffic{false};
};
