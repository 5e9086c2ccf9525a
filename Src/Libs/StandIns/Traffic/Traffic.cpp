#include "Traffic/Traffic.h"

#include "Traffic/Faults.h"

#include <algorithm>
#include <utility>

namespace {

thread_local const CTrafficRequest* t_request = nullptr;

/// Not a member of the instance: with --quiet each message reads it, and GetInstance costs more than that.
std::atomic<bool> s_wantsMessages{false};

bool IsApp(TrafficChannel channel)
{
    return channel == TrafficChannel::AppControl || channel == TrafficChannel::AppBulk;
}

} // namespace

bool CTraffic::WantsMessages()
{
    return s_wantsMessages.load(std::memory_order_relaxed);
}

CTraffic& CTraffic::GetInstance()
{
    static CTraffic traffic;
    return traffic;
}

std::uint64_t CTraffic::Publish(STrafficRecord& record)
{
    const bool isMessage = record.kind == STrafficRecord::Kind::Message;
    if (isMessage && record.from == STrafficRecord::From::Host && t_request &&
        t_request->IsAnsweredOn(record.channel, record.connection)) {
        record.replyTo = t_request->Number();
        if (record.code == 0)
            record.code = t_request->Code();
    }
    const std::lock_guard lock(m_mutex);
    record.number = ++m_records;
    record.time = std::chrono::steady_clock::now();
    record.wallTime = std::chrono::system_clock::now();
    for (const SSubscriber& subscriber : m_subscribers) {
        if (subscriber.wantsMessages || !isMessage)
            subscriber.sink(record);
    }
    return record.number;
}

void CTraffic::UpdateLocked()
{
    s_wantsMessages =
        m_wantsFaults || std::any_of(m_subscribers.begin(), m_subscribers.end(),
                                     [](const SSubscriber& subscriber) { return subscriber.wantsMessages; });
}

void CTraffic::WantFaults(bool wants)
{
    const std::lock_guard lock(m_mutex);
    m_wantsFaults = wants;
    UpdateLocked();
}

CTrafficSubscription::CTrafficSubscription(std::function<void(const STrafficRecord&)> sink, bool messages)
{
    CTraffic& traffic = CTraffic::GetInstance();
    const std::lock_guard lock(traffic.m_mutex);
    m_subscriber = traffic.m_subscribers.insert(traffic.m_subscribers.end(), {std::move(sink), messages});
    traffic.UpdateLocked();
}

CTrafficSubscription::~CTrafficSubscription()
{
    CTraffic& traffic = CTraffic::GetInstance();
    const std::lock_guard lock(traffic.m_mutex);
    traffic.m_subscribers.erase(m_subscriber);
    traffic.UpdateLocked();
}

void CTrafficRequest::Begin(STrafficRecord&& record)
{
    m_record = std::move(record);
    CTraffic::GetInstance().Publish(*m_record);
    m_record->payload = {};
    m_fault = CFaults::GetInstance().Match(*m_record);
    t_request = this;
    if (m_fault && m_fault->action == SFault::Action::Delay) {
        CFaults::GetInstance().Delay(*m_fault);
        NoteFault("delayed " + std::to_string(m_fault->delay.count()) + " ms");
    }
}

void CTrafficRequest::End()
{
    t_request = nullptr;
}

bool CTrafficRequest::IsAnsweredOn(TrafficChannel channel, std::uint64_t connection) const
{
    return channel == m_record->channel ? connection == m_record->connection
                                        : IsApp(channel) && IsApp(m_record->channel);
}

const CTrafficRequest* CTrafficRequest::Current()
{
    return t_request;
}

void CTrafficRequest::NoteFault(const std::string& what) const
{
    CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, m_record->channel, m_record->peer,
                                     "fault " + std::to_string(m_fault->number) + ": " + what, m_record->connection});
}
