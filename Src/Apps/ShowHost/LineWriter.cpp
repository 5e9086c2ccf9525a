#include "ShowHost/LineWriter.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#else
#include <cerrno>
#include <csignal>

#include <poll.h>
#include <unistd.h>
#endif

namespace {

constexpr std::size_t kMaxQueuedBytes = std::size_t{1024} * 1024;
constexpr std::chrono::milliseconds kMaxEndWait{200};

std::string DroppedText(std::size_t lines)
{
    return "... " + std::to_string(lines) + (lines == 1 ? " line dropped\n" : " lines dropped\n");
}

#if defined(_WIN32)
std::size_t WriteSome(int fileDescriptor, const char* bytes, std::size_t count)
{
    const int written = _write(fileDescriptor, bytes, static_cast<unsigned int>(count));
    return written > 0 ? static_cast<std::size_t>(written) : 0;
}

void PrepareThread() {}
#else
/// Blocks until some bytes are written; returns 0 on failure. The descriptor may be non-blocking, because another
/// process that shares it can set that mode.
std::size_t WriteSome(int fileDescriptor, const char* bytes, std::size_t count)
{
    for (;;) {
        const ssize_t written = write(fileDescriptor, bytes, count);
        if (written > 0)
            return static_cast<std::size_t>(written);
        pollfd writable{fileDescriptor, POLLOUT, 0};
        if (written < 0 && errno == EAGAIN)
            poll(&writable, 1, -1);
        else if (written == 0 || errno != EINTR)
            return 0;
    }
}

/// Blocks all signals in this thread. A write to a closed pipe then fails with EPIPE and doesn't terminate the process
/// (SIGPIPE), and the other threads handle the process's signals.
void PrepareThread()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}
#endif

/// Writes lines to the descriptor and reports lost lines.
class CLineOutput {
public:
    CLineOutput(int fileDescriptor, std::string reportPrefix)
        : m_fileDescriptor(fileDescriptor), m_reportPrefix(std::move(reportPrefix))
    {}

    /// Writes whole lines. Counts lines that can't be written as lost.
    void Write(const std::string& text)
    {
        // The report of lost lines comes before later lines.
        ReportLost();
        const std::size_t written = m_lost == 0 ? WriteBytes(text) : 0;
        Lose(static_cast<std::size_t>(
            std::count(text.begin() + static_cast<std::ptrdiff_t>(written), text.end(), '\n')));
    }

    /// Counts lines that were dropped from the queue.
    void Lose(std::size_t lines)
    {
        m_lost += lines;
        ReportLost();
    }

private:
    void ReportLost()
    {
        if (m_lost == 0)
            return;
        const std::string report = (m_isInLine ? "\n" : "") + m_reportPrefix + DroppedText(m_lost);
        if (WriteBytes(report) == report.size())
            m_lost = 0;
    }

    std::size_t WriteBytes(const std::string& text)
    {
        std::size_t written = 0;
        while (written < text.size()) {
            const std::size_t some = WriteSome(m_fileDescriptor, text.data() + written, text.size() - written);
            if (some == 0)
                break;
            written += some;
            m_isInLine = text[written - 1] != '\n';
        }
        return written;
    }

    const int m_fileDescriptor;
    const std::string m_reportPrefix;
    std::size_t m_lost = 0;
    bool m_isInLine = false; ///< the last write ended within a line
};

/// The content of the queue.
struct SLines {
    std::string text;
    std::size_t dropped = 0; ///< number of lines dropped after the text
};

} // namespace

struct CLineWriter::SQueue {
    void Write(const std::string& line);
    void Run(CLineOutput output);

    std::mutex mutex;
    std::condition_variable changed;
    SLines lines;
    bool ends = false;
    bool ended = false;

private:
    std::optional<SLines> Take();
};

void CLineWriter::SQueue::Write(const std::string& line)
{
    const std::lock_guard lock(mutex);
    // After a line was dropped, drop all lines until the thread has taken the queue: there is one gap, reported in its
    // position.
    if (lines.dropped > 0 || lines.text.size() + line.size() >= kMaxQueuedBytes) {
        ++lines.dropped;
        return;
    }
    if (lines.text.empty())
        changed.notify_all();
    lines.text += line;
    lines.text += '\n';
}

/// Waits for lines and takes them all. Returns nothing when the thread must end.
std::optional<SLines> CLineWriter::SQueue::Take()
{
    std::unique_lock lock(mutex);
    const auto isEmpty = [this] { return lines.text.empty() && lines.dropped == 0; };
    changed.wait(lock, [&] { return !isEmpty() || ends; });
    if (isEmpty())
        return std::nullopt;
    return std::exchange(lines, {});
}

void CLineWriter::SQueue::Run(CLineOutput output)
{
    while (const std::optional<SLines> taken = Take()) {
        output.Write(taken->text);
        output.Lose(taken->dropped);
    }
    const std::lock_guard lock(mutex);
    ended = true;
    changed.notify_all();
}

CLineWriter::CLineWriter(int fileDescriptor, std::string reportPrefix) : m_queue(std::make_shared<SQueue>())
{
    m_thread = std::thread([queue = m_queue, output = CLineOutput(fileDescriptor, std::move(reportPrefix))] {
        PrepareThread();
        queue->Run(output);
    });
}

CLineWriter::~CLineWriter()
{
    bool ended = false;
    {
        std::unique_lock lock(m_queue->mutex);
        m_queue->ends = true;
        m_queue->changed.notify_all();
        ended = m_queue->changed.wait_for(lock, kMaxEndWait, [this] { return m_queue->ended; });
    }
    if (ended)
        m_thread.join();
    else
        m_thread.detach();
}

void CLineWriter::Write(const std::string& line)
{
    m_queue->Write(line);
}
