#include "Comm/EnvelopeConnection.h"

#include "Comm/Sockets.h"

#include <asio/buffer.hpp>

#include <array>
#include <new>
#include <utility>

namespace {

/// Each connection has a small first buffer. When it is full, further bytes are read into a buffer that all connections
/// of a thread share, so that thousands of idle peers need little memory. At most this many bytes are read in a row, so
/// that a peer that sends without pause does not block the other peers of the thread.
constexpr std::size_t kReadBytes = std::size_t{16} << 10;
/// Replies to a batch of requests are collected up to this size; beyond it they are written before the batch ends.
constexpr std::size_t kBatchBytes = std::size_t{64} << 10;
/// Maximum number of buffers in one gathered write.
constexpr std::size_t kMaxGather = 64;

const char* TextOf(CFrameReader::Result result)
{
    return result == CFrameReader::Result::WrongMark ? "the received bytes are not an envelope"
                                                     : "an envelope is longer than the maximum";
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
    m_remoteText = AddressText(m_remoteIp, m_remotePort);
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
        m_receiving = Receiving::Handling;
    }
    if (!error && TakeBytes({m_firstBytes.data(), count}) && count == m_firstBytes.size())
        error = ReadMore();
    if (error == asio::error::eof) {
        PeerEnded();
        return;
    }
    if (error)
        Close(error.message());
    {
        const std::lock_guard lock(m_mutex);
        m_receiving = Receiving::Waiting;
        FlushLocked();
    }
    WaitForBytes();
}

/// Reads the bytes that follow a full first buffer, without waiting for more.
asio::error_code CEnvelopeConnection::ReadMore()
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

/// Handles the complete envelopes in the bytes. Returns false when nothing more is to be read.
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
        Close("not enough memory for the request");
    }
    if (result == CFrameReader::Result::WrongMark || result == CFrameReader::Result::TooLong)
        Close(TextOf(result));
    if (result != CFrameReader::Result::Ok)
        return false;

    {
        const std::lock_guard lock(m_mutex);
        m_frames = m_reader.Frames();
        if (!m_reader.IsInsideFrame())
            m_unfinishedSince.reset();
        else if (!m_unfinishedSince || m_frames != framesBefore)
            m_unfinishedSince = Clock::now();
        if (IsOpenLocked())
            m_input.Set(m_reader.HeldBytes());
    }
    m_memory->Relieve();
    return true;
}

/// A peer may shut down its sending side right after its last request and still read the replies.
void CEnvelopeConnection::PeerEnded()
{
    {
        const std::lock_guard lock(m_mutex);
        m_receiving = Receiving::PeerEnded;
        m_unfinishedSince = Clock::now();
        FlushLocked();
        if (IsOpenLocked() && !m_queue.empty())
            return; // the connection ends when the queue has been written
        CloseLocked("the peer closed the connection");
    }
    End();
}

void CEnvelopeConnection::End()
{
    std::string reason;
    {
        const std::lock_guard lock(m_mutex);
        if (m_receiving == Receiving::Ended)
            return;
        m_receiving = Receiving::Ended;
        CloseLocked("the connection was lost");
        reason = m_closeReason;
        m_reader.Release(); // no thread reads any more
    }
    m_onEnd(shared_from_this(), reason);
}

bool CEnvelopeConnection::Send(std::shared_ptr<const Comm::RequestPackage> package)
{
    {
        const std::lock_guard lock(m_mutex);
        if (!IsOpenLocked() || m_sending == Sending::Failed)
            return false;
        if (package->data.empty())
            return true;
        m_queuedBytes += package->data.size();
        m_queue.push_back(std::move(package));
        if (m_receiving != Receiving::Handling || m_queuedBytes >= kBatchBytes)
            FlushLocked();
        if (m_queuedBytes > m_limits.maxQueuedBytes)
            CloseLocked("the peer doesn't read its replies");
    }
    m_memory->Relieve();
    return true;
}

/// Replies that can be written at once are not counted in the channel's memory, so small requests avoid that cost.
void CEnvelopeConnection::FlushLocked()
{
    WriteLocked();
    m_output.Set(m_queuedBytes);
}

void CEnvelopeConnection::WriteLocked()
{
    while (IsOpenLocked() && !m_queue.empty() && m_sending != Sending::Blocked) {
        m_gather.clear();
        for (const auto& package : m_queue) {
            m_gather.emplace_back(asio::buffer(package->data));
            if (m_gather.size() == kMaxGather)
                break;
        }
        m_gather.front() += m_sentOfFirst;

        asio::error_code error;
        // The system call for one buffer is faster than the one for several.
        std::size_t sent =
            m_gather.size() == 1 ? m_socket.write_some(m_gather.front(), error) : m_socket.write_some(m_gather, error);
        if (error == asio::error::would_block) {
            WaitForSpaceLocked();
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

void CEnvelopeConnection::WaitForSpaceLocked()
{
    m_sending = Sending::Blocked;
    m_socket.async_wait(asio::socket_base::wait_write, [self = shared_from_this()](const asio::error_code& error) {
        bool finished = false;
        {
            const std::lock_guard lock(self->m_mutex);
            self->m_sending = Sending::Ready;
            if (!error)
                self->FlushLocked();
            // After the peer has shut down its side no read is pending, so the end is reported from here.
            finished = self->m_receiving == Receiving::PeerEnded && self->m_sending != Sending::Blocked;
        }
        if (finished)
            self->End();
    });
}

/// A peer may send requests and close before it gets the replies. Its requests are still handled: reading continues
/// until the end of the stream, which the shutdown causes.
void CEnvelopeConnection::EndSendingLocked(const std::string& reason)
{
    m_sending = Sending::Failed;
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

void CEnvelopeConnection::FlushAndClose(const std::string& reason)
{
    const std::lock_guard lock(m_mutex);
    FlushLocked();
    CloseLocked(reason);
}

void CEnvelopeConnection::Reset(const std::string& reason)
{
    const std::lock_guard lock(m_mutex);
    CloseLocked(reason, true);
}

/// The pending read or wait completes with an error and reports the end of the connection.
void CEnvelopeConnection::CloseLocked(const std::string& reason, bool resets)
{
    if (!IsOpenLocked())
        return;
    if (m_closeReason.empty())
        m_closeReason = reason;
    asio::error_code ignored;
    if (resets)
        m_socket.set_option(asio::socket_base::linger(true, 0), ignored);
    else
        m_socket.shutdown(asio::socket_base::shutdown_both, ignored);
    m_socket.close(ignored);
    DropQueueLocked();
    m_input.Set(0);
    if (m_receiving != Receiving::Handling)
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
    if (!IsOpenLocked() || m_receiving == Receiving::Handling || !m_unfinishedSince ||
        now - *m_unfinishedSince <= m_limits.deadline)
        return;
    const bool peerEnded = m_receiving == Receiving::PeerEnded;
    asio::error_code ignored;
    if (!peerEnded && m_socket.available(ignored) != 0)
        m_unfinishedSince = now; // the peer has sent the bytes, but the host has not read them yet
    else
        CloseLocked(peerEnded ? "the peer did not read the last replies in time"
                              : "an envelope was not completed in time");
}

std::optional<CEnvelopeConnection::Clock::time_point> CEnvelopeConnection::IdleSince() const
{
    const std::lock_guard lock(m_mutex);
    if (!IsOpenLocked() || m_receiving == Receiving::Handling || !m_queue.empty())
        return std::nullopt;
    return m_frames == m_seenFrames ? m_activeAt : Clock::now();
}
