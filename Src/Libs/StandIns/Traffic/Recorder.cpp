#include "Traffic/Recorder.h"

#include "Traffic/RecordLine.h"

#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

/// Longest time that a record waits to be written. Waking the thread for each record would cost more than writing it.
constexpr std::chrono::milliseconds kPeriod(250);
constexpr std::chrono::seconds kMaxEndWait(2);

struct SFileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, SFileClose>;

/// Records in their order, and their payloads one after the other.
struct SBatch {
    std::vector<STrafficRecord> records;
    std::string payloads;
};

std::size_t BytesOf(const STrafficRecord& record)
{
    return sizeof record + record.payload.size() + record.text.size() + record.peer.size();
}

} // namespace

class CTrafficRecorder::CQueue {
public:
    CQueue(std::string name, std::function<void(const std::string& reason)> onError)
        : m_name(std::move(name)), m_onError(std::move(onError)), m_file(std::fopen(m_name.c_str(), "wb"))
    {
        if (!m_file)
            throw std::runtime_error(m_name + ": can't write the recording: " + std::strerror(errno));
        std::setvbuf(m_file.get(), nullptr, _IONBF, 0);
    }

    void Start(const std::string& program)
    {
        m_text = RecordLine::HeaderOf(program, std::chrono::system_clock::now()) + '\n';
        WriteText();
    }

    void Take(const STrafficRecord& record)
    {
        if (m_failed)
            return;
        const std::lock_guard lock(m_mutex);
        // After a record was dropped, drop all until the thread has taken the queue: there is one gap, noted there.
        const std::size_t bytes = BytesOf(record);
        if (m_dropped > 0 || m_bytes + bytes > kMaxQueuedBytes) {
            ++m_dropped;
            m_lastDropped = record;
            return;
        }
        m_bytes += bytes;
        m_batch.records.push_back(record); // its payload gives only the size from now on
        m_batch.payloads += record.payload;
        if (m_bytes - bytes <= kMaxQueuedBytes / 4 && m_bytes > kMaxQueuedBytes / 4)
            m_changed.notify_all();
    }

    void Run()
    {
        SBatch batch; // swapped with m_batch, so that both retain their memory
        std::unique_lock lock(m_mutex);
        while (!m_failed && !(m_ends && m_batch.records.empty())) {
            if (!m_ends)
                m_changed.wait_for(lock, kPeriod, [this] { return m_ends || m_bytes > kMaxQueuedBytes / 4; });
            std::swap(batch, m_batch);
            const std::uint64_t dropped = std::exchange(m_dropped, 0);
            const STrafficRecord lastDropped = std::exchange(m_lastDropped, {});
            const std::size_t bytes = m_bytes;
            lock.unlock();
            std::string_view payloads = batch.payloads;
            for (STrafficRecord& record : batch.records) {
                record.payload = payloads.substr(0, record.payload.size());
                payloads.remove_prefix(record.payload.size());
                Write(record);
            }
            if (dropped > 0)
                WriteDropped(dropped, lastDropped);
            WriteText();
            batch.records.clear();
            batch.payloads.clear();
            lock.lock();
            m_bytes -= bytes;
        }
        m_ended = true;
        m_changed.notify_all();
    }

    /// Returns false if the thread is blocked in a write.
    bool End()
    {
        std::unique_lock lock(m_mutex);
        m_ends = true;
        m_changed.notify_all();
        return m_changed.wait_for(lock, kMaxEndWait, [this] { return m_ended; });
    }

private:
    void Write(const STrafficRecord& record)
    {
        constexpr std::size_t kWriteBytes = std::size_t{1} << 20;
        RecordLine::Append(m_text, record, m_started);
        m_text += '\n';
        if (m_text.size() >= kWriteBytes)
            WriteText();
    }

    void WriteDropped(std::uint64_t dropped, const STrafficRecord& last)
    {
        STrafficRecord note;
        note.channel = last.channel;
        note.number = last.number;
        note.time = last.time;
        note.text = std::to_string(dropped) + " records dropped: the recording can't be written fast enough";
        Write(note);
    }

    /// Writes whole lines. After an error the file is cut after the last line that was written before.
    void WriteText()
    {
        if (m_failed || m_text.empty())
            return;
        errno = 0;
        const std::size_t written = std::fwrite(m_text.data(), 1, m_text.size(), m_file.get());
        const std::string reason = std::strerror(errno);
        const bool isWritten = written == m_text.size();
        m_text.resize(written);
        // 0 if no line was written completely
        m_fileBytes += m_text.rfind('\n') + 1;
        m_text.clear();
        if (isWritten)
            return;
        std::error_code ignored;
        std::filesystem::resize_file(m_name, m_fileBytes, ignored);
        m_failed = true;
        m_onError(m_name + ": the recording ends: " + reason);
    }

    const std::string m_name;
    const std::function<void(const std::string& reason)> m_onError;
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();

    // Used by the thread only.
    FilePtr m_file;
    std::string m_text; ///< formatted lines
    std::uintmax_t m_fileBytes = 0;
    std::atomic<bool> m_failed{false};

    std::mutex m_mutex; ///< guards the members below
    std::condition_variable m_changed;
    SBatch m_batch;
    std::size_t m_bytes = 0; ///< of m_batch and of the records that are being written
    std::uint64_t m_dropped = 0;
    STrafficRecord m_lastDropped;
    bool m_ends = false;
    bool m_ended = false;
};

CTrafficRecorder::CTrafficRecorder(const std::string& file, const std::string& program,
                                   std::function<void(const std::string& reason)> onError)
    : m_queue(std::make_shared<CQueue>(file, std::move(onError)))
    , m_thread([queue = m_queue, program] {
        queue->Start(program);
        queue->Run();
    })
    , m_traffic([queue = m_queue](const STrafficRecord& record) { queue->Take(record); }, true)
{}

CTrafficRecorder::~CTrafficRecorder()
{
    if (m_queue->End())
        m_thread.join();
    else
        m_thread.detach();
}
