#pragma once

#include <memory>
#include <string>
#include <thread>

/// Writes lines to a file descriptor from a thread of its own, so that its callers never wait for a reader who doesn't
/// read. Lines wait in a queue of 1 MiB; those that don't fit or can't be written are dropped, and
/// "... N lines dropped" is written in their position as soon as output works again. Any thread.
class CLineWriter {
public:
    /// The descriptor must stay open until the process ends.
    explicit CLineWriter(int fileDescriptor);
    /// Waits for the lines in the queue, 200 ms at most.
    ~CLineWriter();
    CLineWriter(const CLineWriter&) = delete;
    CLineWriter& operator=(const CLineWriter&) = delete;

    /// line: without its end.
    void Write(const std::string& line);

private:
    struct SQueue;

    /// Shared with the thread, which outlives this object when it is blocked in a write.
    const std::shared_ptr<SQueue> m_queue;
    std::thread m_thread;
};
