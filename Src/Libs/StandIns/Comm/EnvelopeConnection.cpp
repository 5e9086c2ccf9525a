#include "Comm/EnvelopeConnection.h"

#include "Comm/IpText.h"

#include <asio/buffer.hpp>

#include <array>
#include <new>
#include <utility>

namespace {

/// What follows a full first buffer is read into one that all connections of a thread share, so that thousands of idle
/// peers cost little. No more than this at a turn: a peer that floods doesn't keep the thread from the others.
constexpr std::size_t kReadBytes = std::size_t{16} << 10;
/// Replies of a batch are held back up to this size, then written even while the batch goes on.
constexpr std::size_t kBatchBytes = std::size_t{64} << 10;
/// What one call can gather.
constexpr std::size_t kMaxGather = 64;

const char* TextOf(CFrameReader::Result result)
{
    return result == CFrameReader::Result::WrongMark ? "the bytes are no envelope"
                                                     : "an envelope claims to be too long";
}

} // namespace

CEnvelopeConnection::CEnvelopeConnection(CIoThreads& threads, asio::ip::tcp::socket socket, SConnectionLimits limits,
                                         std::shared_ptr<CChannelMemory> memory, FrameCallback onFrame,
                                         EndCallback onEnd)
    : m_threads(threads)
    , m_limits(limits)
    , m_memory(std::move(memory))
    , m_onFrame(std::move(onFrame))
    , m_onEnd(std::move(onEnd))
    , m_reader(limits.maxBodyBytes)
    , m_input(m_memory->Input())
    , m_output(m_memory->Output())
    , m_socket(std::move(socket))
{
    asio::error_code ignored;
    m_socket.non_blocking(true, ignored);
    m_socket.set_option(asio::ip::tcp::no_delay(true), ignored);
    m_socket.set_option(asio::socket_base::keep_alive(true), ignored);
    const auto remote = m_socket.remote_endpoint(ignored);
    m_remoteIp = IpText(remote.address());
    m_remotePort = remote.port();
    m_gather.reserve(kMaxGather);
}

void CEnvelopeConnection::Start()
{
    WaitForBytes();
}

void CEnvelopeConnection::WaitForBytes()
{
    {
        const std::lock_guard lock(m_mutex);
        if (IsOpenLocked()) {
            m_socket.async_read_some(asio::buffer(m_firstBytes),
                                     [self = shared_from_this()](const asio::error_code& error, std::size_t count) {
                                         self->ReadBytes(error, count);
                                     });
            return;
        }
    }
    End();
}

void CEnvelopeConnection::ReadBytes(asio::error_code error, std::size_t count)
{
    {
        const std::lock_guard lock(m_mutex);
        m_takingBytes = true;
    }
    if (!error && TakeBytes({m_firstBytes.data(), count}) && count == m_firstBytes.size())
        error = ReadOn();
    if (error == asio::error::eof) {
        PeerEnded();
        return;
    }
    if (error)
        Close(error.message());
    {
        const std::lock_guard lock(m_mutex);
        m_takingBytes = false;
        FlushLocked();
    }
    WaitForBytes();
}

/// Takes what came after the first bytes.
asio::error_code CEnvelopeConnection::ReadOn()
{
    thread_local std::array<char, kReadBytes> bytes;
    asio::error_code error;
    std::size_t count = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (IsOpenLocked())
            count = m_socket.read_some(asio::buffer(bytes), error);
    }
    if (!error)
        TakeBytes({bytes.data(), count});
    return error == asio::error::would_block ? asio::error_code() : error;
}

/// False when nothing further is to be read.
bool CEnvelopeConnection::TakeBytes(std::string_view bytes)
{
    const std::size_t framesBefore = m_reader.Frames();
    const Ptr self = shared_from_this();
    auto result = CFrameReader::Result::Stopped;
    try {
        result = m_reader.Feed(bytes, [&](std::string_view frame) {
            {
                const CIoThreads::CCallbackScope callbackScope(m_threads);
                m_onFrame(self, std::string(frame));
            }
            const std::lock_guard lock(m_mutex);
            return IsOpenLocked();
        });
    } catch (const std::bad_alloc&) {
        Close("not enough memory for its request");
    }
    if (result == CFrameReader::Result::WrongMark || result == CFrameReader::Result::TooLong)
        Close(TextOf(result));
    if (result != CFrameReader::Result::Ok)
        return false;

    {
        const std::lock_guard lock(m_mutex);
        const bool isNewFrame = !m_insideFrame || m_reader.Frames() != framesBefore;
        m_frames = m_reader.Frames();
        m_insideFrame = m_reader.IsInsideFrame();
        if (m_insideFrame && isNewFrame)
            m_unfinishedSince = Clock::now();
        if (IsOpenLocked())
            m_input.Set(m_reader.HeldBytes());
    }
    m_memory->Relieve();
    return true;
}

/// A peer may end its side right after its last request and still read the replies.
void CEnvelopeConnection::PeerEnded()
{
    {
        const std::lock_guard lock(m_mutex);
        m_takingBytes = false;
        m_peerEnded = true;
        m_insideFrame = false;
        m_unfinishedSince = Clock::now();
        FlushLocked();
        if (IsOpenLocked() && !m_queue.empty())
            return; // the flush that empties the queue ends the connection
        CloseLocked("the peer closed it");
    }
    End();
}

void CEnvelopeConnection::End()
{
    std::string reason;
    {
        const std::lock_guard lock(m_mutex);
        if (m_ended)
            return;
        m_ended = true;
        CloseLocked("the connection broke");
        reason = m_closeReason;
        m_reader.Release(); // no thread reads any more
    }
    m_onEnd(shared_from_this(), reason);
}

bool CEnvelopeConnection::Send(std::shared_ptr<const Comm::RequestPackage> package)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!IsOpenLocked() || m_sendingEnded)
            return false;
        if (package->data.empty())
            return true;
        m_queuedBytes += package->data.size();
        m_queue.push_back(std::move(package));
        if (!m_takingBytes || m_queuedBytes >= kBatchBytes)
            FlushLocked();
        if (m_queuedBytes > m_limits.maxQueuedBytes)
            CloseLocked("the peer doesn't read its replies");
    }
    m_memory->Relieve();
    return true;
}

/// Replies that go out at once are not counted in the channel's memory: small requests pay nothing for it.
void CEnvelopeConnection::FlushLocked()
{
    WriteLocked();
    m_output.Set(m_queuedBytes);
}

void CEnvelopeConnection::WriteLocked()
{
    while (IsOpenLocked() && !m_queue.empty() && !m_waitsForRoom) {
        m_gather.clear();
        for (const auto& package : m_queue) {
            m_gather.emplace_back(asio::buffer(package->data));
            if (m_gather.size() == kMaxGather)
                break;
        }
        m_gather.front() += m_sentOfFirst;

        asio::error_code error;
        std::size_t sent = m_socket.write_some(m_gather, error);
        if (error == asio::error::would_block) {
            WaitForRoomLocked();
            return;
        }
        if (error) {
            EndSendingLocked(error.message());
            return;
        }
        m_queuedBytes -= sent;
        sent += m_sentOfFirst;
        while (!m_queue.empty() && sent >= m_queue.front()->data.size()) {
            sent -= m_queue.front()->data.size();
            m_queue.pop_front();
        }
        m_sentOfFirst = sent;
    }
}

void CEnvelopeConnection::WaitForRoomLocked()
{
    m_waitsForRoom = true;
    m_socket.async_wait(asio::socket_base::wait_write, [self = shared_from_this()](const asio::error_code& error) {
        bool finished = false;
        {
            const std::lock_guard lock(self->m_mutex);
            self->m_waitsForRoom = false;
            if (!error)
                self->FlushLocked();
            // Nobody reads any more once the peer has ended: the end is told from here.
            finished = self->m_peerEnded && !self->m_waitsForRoom;
        }
        if (finished)
            self->End();
    });
}

/// A peer may send and be gone before it is answered: what it sent still counts. Reading goes on to its end, which the
/// shutdown brings about.
void CEnvelopeConnection::EndSendingLocked(const std::string& reason)
{
    m_sendingEnded = true;
    m_closeReason = reason;
    DropQueueLocked();
    asio::error_code ignored;
    m_socket.shutdown(asio::socket_base::shutdown_both, ignored);
}

void CEnvelopeConnection::Close(const std::string& reason)
{
    const std::lock_guard lock(m_mutex);
    CloseLocked(reason);
}

/// Whoever waits on the socket finds it closed and tells the end.
void CEnvelopeConnection::CloseLocked(const std::string& reason)
{
    if (!IsOpenLocked())
        return;
    if (m_closeReason.empty())
        m_closeReason = reason;
    asio::error_code ignored;
    m_socket.shutdown(asio::socket_base::shutdown_both, ignored);
    m_socket.close(ignored);
    DropQueueLocked();
    m_input.Set(0);
    if (!m_takingBytes)
        m_reader.Release();
}

void CEnvelopeConnection::DropQueueLocked()
{
    m_queue = {};
    m_queuedBytes = 0;
    m_output.Set(0);
}

void CEnvelopeConnection::CheckDeadline(Clock::time_point now)
{
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_seenFrames, m_frames) != m_frames)
        m_activeAt = now;
    if (!IsOpenLocked() || m_takingBytes || !(m_insideFrame || m_peerEnded) ||
        now - m_unfinishedSince <= m_limits.deadline)
        return;
    asio::error_code ignored;
    if (m_insideFrame && m_socket.available(ignored) != 0)
        m_unfinishedSince = now; // the bytes are there: it is the host that hasn't read them yet
    else
        CloseLocked(m_peerEnded ? "the peer didn't take its last replies" : "an envelope stayed unfinished");
}

std::optional<CEnvelopeConnection::Clock::time_point> CEnvelopeConnection::IdleSince() const
{
    const std::lock_guard lock(m_mutex);
    if (!IsOpenLocked() || m_takingBytes || !m_queue.empty())
        return std::nullopt;
    return m_frames == m_seenFrames ? m_activeAt : Clock::now();
}
