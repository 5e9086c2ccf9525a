#pragma once

#include "Traffic/Traffic.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

/// Stores the newest records of all channels. Its position of a record is the number of records before it, from the
/// creation of the ring on. Any thread.
class CTrafficRing {
public:
    /// Its payload is valid as long as the record.
    using Record = std::shared_ptr<const STrafficRecord>;
    struct SBatch {
        std::uint64_t begin = 0; ///< position of the first record
        std::vector<Record> records;
    };

    /// Stores records from now on.
    /// \param maxBytes      older records are discarded when the records need more memory
    /// \param wantsMessages whether it stores messages without readers, too
    CTrafficRing(std::size_t maxBytes, bool wantsMessages);
    /// Stores messages too until RemoveReader has been called as often as AddReader. On one thread only.
    void AddReader();
    void RemoveReader();
    /// Returns at most `count` records, from the position on or, if these records have been discarded, from the oldest.
    SBatch Read(std::uint64_t position, std::size_t count) const;
    /// Returns the record with this number; null if it is not stored.
    Record Find(std::uint64_t number) const;

private:
    struct SBlock;

    void Subscribe();
    void Add(const STrafficRecord& record);

    const std::size_t m_maxBytes;
    mutable std::mutex m_mutex; ///< guards the members below
    std::deque<std::shared_ptr<SBlock>> m_blocks;
    std::size_t m_bytes = 0;

    int m_readers;
    std::optional<CTrafficSubscription> m_traffic; ///< destroyed first
};
