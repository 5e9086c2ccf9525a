#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

/// Returns "ip:port", the form of a peer in records. An IPv6 address is put in brackets (RFC 3986, 3.2.2).
inline std::string AddressText(const std::string& ip, std::uint16_t port)
{
    return (ip.find(':') == std::string::npos ? ip : '[' + ip + ']') + ':' + std::to_string(port);
}

enum class TrafficChannel { AppControl, AppBulk, AppDiscovery, AppUpload, CentralControl, Cloud, FP, Devices };

/// Names of the channels in logs, recordings and fault rules, in the order of TrafficChannel.
constexpr const char* kTrafficChannelNames[] = {
    "app control", "app bulk", "app discovery", "app upload", "central control", "cloud", "FP", "devices"};

constexpr const char* NameOf(TrafficChannel channel)
{
    return kTrafficChannelNames[static_cast<int>(channel)];
}

/// A message of a channel, or an event of one.
struct STrafficRecord {
    enum class Kind {
        Listening, ///< the channel accepts data; text is its address
        Failed,    ///< the channel could not be started; text is the reason
        Opened,
        Closed, ///< text is the reason
        Message,
        Note,
    };
    enum class From { Host, Remote };

    Kind kind = Kind::Note;
    TrafficChannel channel = TrafficChannel::AppControl;
    std::string peer = {};        ///< "ip:port" or a port name; may be empty
    std::string text = {};        ///< of a message: a note, such as that the remote did not send it; usually empty
    std::uint64_t connection = 0; ///< from CTraffic::NextConnection; 0 for datagrams

    // Of messages only.
    From from = From::Host;
    /// As sent; on channels without codes, the code that the keyword selects, and for a reply the code of its request.
    std::uint32_t code = 0;
    std::string_view payload = {}; ///< without the envelope's header; valid only while the record is published
    std::size_t wireBytes = 0;     ///< size of the message, with the envelope's header
    std::uint64_t replyTo = 0;     ///< number of the request's record; 0 for other messages

    // Set by CTraffic::Publish.
    std::uint64_t number = 0;
    std::chrono::steady_clock::time_point time = {};
    std::chrono::system_clock::time_point wallTime = {};
};

/// Passes the records of all channels to the subscribers. Any thread.
class CTraffic {
public:
    static CTraffic& GetInstance();

    /// Whether a subscriber or a fault rule wants messages. If not, messages need not be published.
    static bool WantsMessages();
    /// Numbers the record and passes it to the subscribers. A message of the host that is sent while this thread
    /// handles a request (CTrafficRequest) is published as a reply to it.
    /// \param record its number and times are set; the code and the request of a reply, too
    /// \return the number of the record
    std::uint64_t Publish(STrafficRecord& record);
    std::uint64_t Publish(STrafficRecord&& record) { return Publish(record); }
    /// Returns a number for a new connection of any channel.
    std::uint64_t NextConnection() { return ++m_connections; }

    /// To be called when there are fault rules, and when there are none any more.
    void WantFaults(bool wants);

private:
    friend class CTrafficSubscription;
    struct SSubscriber {
        std::function<void(const STrafficRecord&)> sink;
        bool wantsMessages;
    };

    void UpdateLocked();

    std::atomic<std::uint64_t> m_connections{0};
    std::mutex m_mutex; ///< guards the members below
    std::list<SSubscriber> m_subscribers;
    std::uint64_t m_records = 0;
    bool m_wantsFaults = false;
};

struct SFault;

/// Receives records during its lifetime.
class CTrafficSubscription {
public:
    /// \param sink called on the channels' threads, once at a time and in the order of the records' numbers; must not
    /// block, publish or subscribe
    /// \param messages whether it receives messages as well as events
    CTrafficSubscription(std::function<void(const STrafficRecord&)> sink, bool messages);
    /// When the destructor returns, the sink is not running and is not called again.
    ~CTrafficSubscription();
    CTrafficSubscription(const CTrafficSubscription&) = delete;
    CTrafficSubscription& operator=(const CTrafficSubscription&) = delete;

private:
    std::list<CTraffic::SSubscriber>::iterator m_subscriber;
};

/// The request that this thread is handling. To be created on the stack around the handling; not nested.
class CTrafficRequest {
public:
    /// Publishes the request. If a fault rule delays it, returns after the delay.
    /// \param describe returns the request's record; called only if a subscriber or a fault rule wants messages
    template <class Describe>
    explicit CTrafficRequest(const Describe& describe)
    {
        if (CTraffic::WantsMessages())
            Begin(describe());
    }
    ~CTrafficRequest()
    {
        if (m_record)
            End();
    }
    CTrafficRequest(const CTrafficRequest&) = delete;
    CTrafficRequest& operator=(const CTrafficRequest&) = delete;

    /// Returns the current request of this thread, or null if there is none or it was not published.
    static const CTrafficRequest* Current();
    // Of a request that was published.
    /// Returns the number of the request's record.
    std::uint64_t Number() const { return m_record->number; }
    /// Returns the code in the request's record.
    std::uint32_t Code() const { return m_record->code; }
    /// Returns the fault rule that applies to the request or to its replies, or null.
    const std::shared_ptr<const SFault>& Fault() const { return m_fault; }
    /// Publishes what the rule has done, such as "fault 2: reply dropped".
    void NoteFault(const std::string& what) const;
    /// Whether a message on this connection can be a reply. Only apps have two connections, one on each channel.
    bool IsAnsweredOn(TrafficChannel channel, std::uint64_t connection) const;

private:
    void Begin(STrafficRecord&& record);
    static void End();

    std::optional<STrafficRecord> m_record; ///< without the payload; none if it was not published
    std::shared_ptr<const SFault> m_fault;
};
