#pragma once

#include "Traffic/Traffic.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>

/// Writes the records of all channels to a file, as Docs/Traffic.md describes. Values that the contract marks as secret
/// ("writeOnly") are replaced by "***".
///
/// A thread formats and writes the records, at least every quarter of a second. If the disk is slower than the traffic,
/// records are dropped and a note in the file says how many. After a write error the recording ends.
class CTrafficRecorder {
public:
    static constexpr std::size_t kMaxQueuedBytes = std::size_t{64} << 20;

    /// Creates the file, or replaces its content. Throws std::runtime_error if that fails.
    /// \param program name and version of the host
    /// \param onError called once, on the recorder's thread, with the reason if the file can't be written
    CTrafficRecorder(const std::string& file, const std::string& program,
                     std::function<void(const std::string& reason)> onError);
    /// Waits until the queue is written, but at most 2 s.
    ~CTrafficRecorder();
    CTrafficRecorder(const CTrafficRecorder&) = delete;
    CTrafficRecorder& operator=(const CTrafficRecorder&) = delete;

private:
    class CQueue;

    /// Shared with the thread, which can outlive this object if it is blocked in a write.
    const std::shared_ptr<CQueue> m_queue;
    std::thread m_thread;
    CTrafficSubscription m_traffic; ///< destroyed first
};
