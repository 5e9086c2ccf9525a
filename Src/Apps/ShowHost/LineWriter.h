#pragma once

#include <memory>
#include <string>
#include <thread>

/// Writes lines to a file descriptor on its own thread, so that callers don't block when the reader of a pipe is slow.
/// The queue holds 1 MiB. Lines that don't fit or can't be written are dropped; "... N lines dropped" is written in
/// their position when output works again. Any thread.
class CLineWriter {
public:
    /// \param fileDescriptor must stay open until the process ends; it is not closed
    /// \param reportPrefix   precedes the report of dropped lines
    explicit CLineWriter(int fileDescriptor, std::string reportPrefix = {});
    /// Waits until the queue is written, but at most 200 ms.
    ~CLineWriter();
    CLineWriter(const CLineWriter&) = delete;
    CLineWriter& operator=(const CLineWriter&) = delete;

    /// Queues a line; does not block.
    /// \param line without a line feed
    void Write(const std::string& line);

private:
    struct SQueue;

    /// Shared with the thread, which can outlive this object if it is blocked in a write.
    const std::shared_ptr<SQueue> m_queue;
    std::thread m_thread;
};
