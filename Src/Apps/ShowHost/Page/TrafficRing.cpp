#include "ShowHost/Page/TrafficRing.h"

#include <algorithm>

namespace {

std::size_t BytesOf(const SStoredRecord& stored)
{
    return sizeof stored + stored.payload.size() + stored.record.peer.size() + stored.record.text.size();
}

} // namespace

CTrafficRing::CTrafficRing(std::size_t maxBytes, bool wantsMessages)
    : m_maxBytes(maxBytes), m_readers(wantsMessages ? 1 : 0)
{
    Subscribe();
}

void CTrafficRing::AddReader()
{
    if (++m_readers == 1)
        Subscribe();
}

void CTrafficRing::RemoveReader()
{
    if (--m_readers == 0)
        Subscribe();
}

void CTrafficRing::Subscribe()
{
    m_traffic.emplace([this](const STrafficRecord& record) { Add(record); }, m_readers > 0);
}

void CTrafficRing::Add(const STrafficRecord& record)
{
    auto stored = std::make_shared<SStoredRecord>(SStoredRecord{record, std::string(record.payload)});
    stored->record.payload = stored->payload;
    std::vector<Record> discarded; // destroyed without the lock
    const std::lock_guard lock(m_mutex);
    m_bytes += BytesOf(*stored);
    m_records.push_back(std::move(stored));
    while (m_bytes > m_maxBytes && m_records.size() > 1) {
        m_bytes -= BytesOf(*m_records.front());
        discarded.push_back(std::move(m_records.front()));
        m_records.pop_front();
        ++m_discarded;
    }
}

CTrafficRing::SBatch CTrafficRing::Read(std::uint64_t position, std::size_t count) const
{
    const std::lock_guard lock(m_mutex);
    SBatch batch{std::max(position, m_discarded), {}};
    const std::size_t index = static_cast<std::size_t>(batch.begin - m_discarded);
    if (index >= m_records.size())
        return batch;
    const auto begin = m_records.begin() + static_cast<std::ptrdiff_t>(index);
    const std::size_t available = m_records.size() - index;
    batch.records.assign(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, available)));
    return batch;
}

CTrafficRing::Record CTrafficRing::Find(std::uint64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto found =
        std::lower_bound(m_records.begin(), m_records.end(), number,
                         [](const Record& stored, std::uint64_t n) { return stored->record.number < n; });
    return found != m_records.end() && (*found)->record.number == number ? *found : nullptr;
}
