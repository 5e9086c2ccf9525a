#pragma once

#include "Traffic/Traffic.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// A rule that disturbs the handling of some requests, so that a remote can be tested with a faulty host.
struct SFault {
    enum class Action {
        Delay,     ///< the request is handled after a pause
        Ignore,    ///< the request is lost
        Drop,      ///< the replies are lost
        Duplicate, ///< each reply is sent twice
        Truncate,  ///< only the first bytes of a reply are sent, then the connection is closed
        Reset,     ///< the connection is reset; the request is lost
        Reply,     ///< the host sends this reply instead of its own
    };

    int number = 0;   ///< set by CFaults::Add
    std::string text; ///< the rule as the user wrote it

    TrafficChannel channel = TrafficChannel::AppControl;
    std::optional<std::uint32_t> code; ///< none: all requests
    std::string peer;                  ///< an IP address, with or without a port; empty: all
    std::uint64_t first = 0;           ///< applies to this many requests only; 0: all
    std::uint64_t every = 1;           ///< applies to each of these requests
    double probability = 1;
    std::uint32_t seed = 0;

    Action action = Action::Ignore;
    std::chrono::milliseconds delay{};
    std::size_t bytes = 0;  ///< of Truncate, of the message as it is sent
    std::string reply = {}; ///< of Reply: the payload
    int route = 0;          ///< of Reply to the cloud
};

/// The rules that are in use. Any thread.
class CFaults {
public:
    static CFaults& GetInstance();

    /// Returns the number of the rule. Numbers are not used again.
    int Add(SFault fault);
    /// Returns false if no rule has the number.
    bool Remove(int number);
    void Clear();
    std::vector<std::shared_ptr<const SFault>> List() const;

    /// Returns the first rule that applies to the request, or null. Counts the request.
    std::shared_ptr<const SFault> Match(const STrafficRecord& request);
    /// Blocks for the delay of the rule, or until the rule is removed.
    void Delay(const SFault& fault);

private:
    struct SEntry {
        std::shared_ptr<const SFault> fault;
        std::uint64_t matches = 0;
        std::mt19937 random;
    };

    void RemoveLocked(std::vector<SEntry>::iterator begin);

    mutable std::mutex m_mutex;
    std::condition_variable m_removed;
    std::vector<SEntry> m_entries;
    int m_lastNumber = 0;
};

/// Carries out a fault rule that replaces the handling of the request.
/// \param reset resets the connection of the request, with this reason
/// \param reply sends the reply of the rule
/// \return false if there is none, so that the request is to be handled
template <class Reset, class Reply>
bool IsTakenOver(const CTrafficRequest& request, Reset&& reset, Reply&& reply)
{
    const SFault* const fault = request.Fault().get();
    switch (fault ? fault->action : SFault::Action::Delay) {
    case SFault::Action::Ignore:
        request.NoteFault("request ignored");
        return true;
    case SFault::Action::Reset:
        request.NoteFault("connection reset");
        reset("reset by a fault rule");
        return true;
    case SFault::Action::Reply:
        request.NoteFault("answered");
        reply(*fault);
        return true;
    default:
        return false;
    }
}

/// How a message is to be sent.
struct SReplyFault {
    int copies = 1;
    std::size_t maxBytes = 0; ///< not 0: only so many bytes are sent, then the connection is closed
};

/// Publishes what the fault rule of the request does with a reply.
/// \param request the request that the message replies to, or null
SReplyFault ApplyToReply(const CTrafficRequest* request);
