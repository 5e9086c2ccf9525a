#include "Traffic/Faults.h"

#include <algorithm>
#include <utility>

namespace {

bool IsFor(const SFault& fault, const STrafficRecord& request)
{
    const auto isPeer = [&] {
        const std::string& peer = fault.peer;
        return request.peer == peer || request.peer.compare(0, peer.size() + 1, peer + ':') == 0;
    };
    return fault.channel == request.channel && (!fault.code || *fault.code == request.code) &&
           (fault.peer.empty() || isPeer());
}

} // namespace

CFaults& CFaults::GetInstance()
{
    static CFaults faults;
    return faults;
}

int CFaults::Add(SFault fault)
{
    const std::lock_guard lock(m_mutex);
    fault.number = ++m_lastNumber;
    const std::uint32_t seed = fault.seed;
    m_entries.push_back({std::make_shared<const SFault>(std::move(fault)), 0, std::mt19937(seed)});
    CTraffic::GetInstance().WantFaults(true);
    return m_lastNumber;
}

bool CFaults::Remove(int number)
{
    const std::lock_guard lock(m_mutex);
    const auto last = std::remove_if(m_entries.begin(), m_entries.end(),
                                     [number](const SEntry& entry) { return entry.fault->number == number; });
    const bool isThere = last != m_entries.end();
    RemoveLocked(last);
    return isThere;
}

void CFaults::Clear()
{
    const std::lock_guard lock(m_mutex);
    RemoveLocked(m_entries.begin());
}

void CFaults::RemoveLocked(std::vector<SEntry>::iterator begin)
{
    m_entries.erase(begin, m_entries.end());
    CTraffic::GetInstance().WantFaults(!m_entries.empty());
    m_removed.notify_all();
}

std::vector<std::shared_ptr<const SFault>> CFaults::List() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::shared_ptr<const SFault>> faults;
    for (const SEntry& entry : m_entries)
        faults.push_back(entry.fault);
    return faults;
}

std::shared_ptr<const SFault> CFaults::Match(const STrafficRecord& request)
{
    const std::lock_guard lock(m_mutex);
    for (SEntry& entry : m_entries) {
        const SFault& fault = *entry.fault;
        if (!IsFor(fault, request))
            continue;
        ++entry.matches;
        const bool isInTime = fault.first == 0 || entry.matches <= fault.first;
        if (isInTime && entry.matches % fault.every == 0 &&
            std::uniform_real_distribution<>(0, 1)(entry.random) < fault.probability)
            return entry.fault;
    }
    return nullptr;
}

void CFaults::Delay(const SFault& fault)
{
    std::unique_lock lock(m_mutex);
    m_removed.wait_for(lock, fault.delay, [&] {
        return std::none_of(m_entries.begin(), m_entries.end(),
                            [&](const SEntry& entry) { return entry.fault->number == fault.number; });
    });
}

SReplyFault ApplyToReply(const CTrafficRequest* request)
{
    const SFault* const fault = request ? request->Fault().get() : nullptr;
    switch (fault ? fault->action : SFault::Action::Delay) {
    case SFault::Action::Drop:
        request->NoteFault("reply dropped");
        return {0};
    case SFault::Action::Duplicate:
        request->NoteFault("reply sent twice");
        return {2};
    case SFault::Action::Truncate:
        request->NoteFault("reply truncated to " + std::to_string(fault->bytes) + " bytes");
        return {1, fault->bytes};
    default:
        return {};
    }
}
