#include "Traffic/Traffic.h"

#include <algorithm>
#include <utility>

namespace {

thread_local const CTrafficRequest* t_request = nullptr;

} // namespace

CTraffic& CTraffic::GetInstance()
{
    static CTraffic traffic;
    return traffic;
}

std::uint64_t CTraffic::Publish(STrafficRecord record)
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
    m_wantsMessages = std::any_of(m_subscribers.begin(), m_subscribers.end(),
                                  [](const SSubscriber& subscriber) { return subscriber.wantsMessages; });
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

void CTrafficRequest::Begin(const STrafficRecord& record)
{
    m_channel = record.channel;
    m_connection = record.connection;
    m_code = record.code;
    m_number = CTraffic::GetInstance().Publish(record);
    t_request = this;
}

CTrafficRequest::~CTrafficRequest()
{
    if (m_number != 0)
        t_request = nullptr;
}

const CTrafficRequest* CTrafficRequest::Current()
{
    return t_request;
}
