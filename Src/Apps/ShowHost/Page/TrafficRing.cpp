#include "ShowHost/Page/TrafficRing.h"

#include <algorithm>
#include <string>
#include <utility>

namespace {

// A block is full with as many records, or with as many bytes.
constexpr std::size_t kRecordsOfBlock = 256;
constexpr std::size_t kBytesOfBlock = std::size_t{512} * 1024;
/// Memory for payloads in each block.
constexpr std::size_t kPayloadBytesOfBlock = std::size_t{64} * 1024;

} // namespace

/// Records that follow each other. Allocating memory for each one would slow down the channels.
struct CTrafficRing::SBlock {
    explicit SBlock(std::uint64_t position) : begin(position)
    {
        records.reserve(kRecordsOfBlock);
        payloads.reserve(kPayloadBytesOfBlock);
    }

    void Add(const STrafficRecord& record)
    {
        const bool fits = record.payload.size() <= payloads.capacity() - payloads.size();
        std::string& memory = fits ? payloads : furtherPayloads.emplace_back();
        const std::size_t start = memory.size();
        memory += record.payload;
        records.push_back(record);
        records.back().payload = std::string_view(memory).substr(start);
        bytes += record.peer.size() + record.text.size() + (fits ? 0 : sizeof(std::string) + memory.size());
    }
    bool IsFull() const { return records.size() == kRecordsOfBlock || bytes >= kBytesOfBlock; }
    std::uint64_t End() const { return begin + records.size(); }

    const std::uint64_t begin; ///< position of the first record
    // Pointers to their elements remain valid.
    std::vector<STrafficRecord> records;
    std::string payloads;
    std::deque<std::string> furtherPayloads; ///< those for which no space was left
    std::size_t bytes = sizeof(SBlock) + kRecordsOfBlock * sizeof(STrafficRecord) + kPayloadBytesOfBlock;
};

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
    std::vector<std::shared_ptr<SBlock>> discarded; // destroyed without the lock
    const std::lock_guard lock(m_mutex);
    if (m_blocks.empty() || m_blocks.back()->IsFull()) {
        m_blocks.push_back(std::make_shared<SBlock>(m_blocks.empty() ? 0 : m_blocks.back()->End()));
        m_bytes += m_blocks.back()->bytes;
    }
    SBlock& block = *m_blocks.back();
    m_bytes -= block.bytes;
    block.Add(record);
    m_bytes += block.bytes;
    while (m_bytes > m_maxBytes && m_blocks.size() > 1) {
        m_bytes -= m_blocks.front()->bytes;
        discarded.push_back(std::move(m_blocks.front()));
        m_blocks.pop_front();
    }
}

CTrafficRing::SBatch CTrafficRing::Read(std::uint64_t position, std::size_t count) const
{
    const std::lock_guard lock(m_mutex);
    SBatch batch{std::max(position, m_blocks.empty() ? 0 : m_blocks.front()->begin), {}};
    auto block = std::upper_bound(m_blocks.begin(), m_blocks.end(), batch.begin,
                                  [](std::uint64_t at, const auto& other) { return at < other->End(); });
    std::uint64_t at = batch.begin;
    for (; block != m_blocks.end() && batch.records.size() < count; ++block) {
        for (; at < (*block)->End() && batch.records.size() < count; ++at)
            batch.records.emplace_back(*block, &(*block)->records[at - (*block)->begin]);
    }
    return batch;
}

CTrafficRing::Record CTrafficRing::Find(std::uint64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto block =
        std::lower_bound(m_blocks.begin(), m_blocks.end(), number,
                         [](const auto& other, std::uint64_t n) { return other->records.back().number < n; });
    if (block == m_blocks.end())
        return nullptr;
    const auto& records = (*block)->records;
    const auto found =
        std::lower_bound(records.begin(), records.end(), number,
                         [](const STrafficRecord& record, std::uint64_t n) { return record.number < n; });
    return found->number == number ? Record(*block, &*found) : nullptr;
}
