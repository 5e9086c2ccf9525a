#pragma once

#include "Comm/ChannelMemory.h"
#include "Comm/FrameReader.h"
#include "Comm/IoThreads.h"
#include "Interfaces/ZXComm.h"
#include "Traffic/Traffic.h"

#include <asio/ip/tcp.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Limits of one connection; a peer that exceeds one of them is disconnected.
struct SConnectionLimits {
    /// Maximum length of a received body, in bytes.
    std::size_t maxBodyBytes = Envelope::kMaxRequestBodyBytes;
    /// Maximum size of the unsent replies, in bytes: enough for the largest reply.
    std::size_t maxQueuedBytes = Envelope::kMaxReplyBodyBytes;
    /// Time that the peer has to complete an envelope; the time that the host needs is not counted. Also the time that
    /// a peer that has shut down its side has to read the last replies.
    std::chrono::milliseconds deadline = std::chrono::seconds(10);
};

/// One TCP connection that carries app envelopes.
///
/// The frame callbacks of a connection run one after the other, on the I/O thread that read the frame. Replies that a
/// callback sends are written together when all bytes read so far have been handled. Send and Close never wait; any
/// thread may call them.
class CEnvelopeConnection : public std::enable_shared_from_this<CEnvelopeConnection> {
public:
    using Ptr = std::shared_ptr<CEnvelopeConnection>;
    using FrameCallback = std::function<void(const Ptr&, std::string frame)>;
    /// Called once when the connection has ended; no frame callback follows.
    using EndCallback = std::function<void(const Ptr&, const std::string& reason)>;
    using Clock = std::chrono::steady_clock;

    CEnvelopeConnection(CIoThreads& threads, asio::ip::tcp::socket socket, SConnectionLimits limits,
                        std::shared_ptr<CChannelMemory> memory, FrameCallback onFrame, EndCallback onEnd);

    const std::string& RemoteIp() const { return m_remoteIp; }
    std::uint16_t RemotePort() const { return m_remotePort; }
    /// Returns the number of the connection in traffic records.
    std::uint64_t Number() const { return m_number; }
    const std::string& RemoteText() const { return m_remoteText; }

    /// Starts reading. To be called once.
    void Start();
    /// Queues the package and writes what the system accepts at once. Any thread.
    /// \return false when the connection can't send any more
    bool Send(std::shared_ptr<const Comm::RequestPackage> package);
    /// Closes the connection; unsent replies are dropped. The first reason is reported. Any thread.
    void Close(const std::string& reason);
    /// Writes the unsent replies that the system accepts at once, and closes the connection. Any thread.
    void FlushAndClose(const std::string& reason);
    /// Closes the connection so that the peer gets an error instead of the end of the stream. Any thread.
    void Reset(const std::string& reason);
    /// Closes the connection when it has waited for its peer longer than the limits allow. To be called periodically;
    /// the period is the resolution of IdleSince.
    void CheckDeadline(Clock::time_point now);

    /// Memory of the incomplete envelope, in bytes. Any thread.
    std::size_t InputBytes() const { return m_input.Bytes(); }
    /// Memory of the unsent replies, in bytes. Any thread.
    std::size_t OutputBytes() const { return m_output.Bytes(); }
    /// Returns the time of the last request, or of the opening when there was none; nullopt while the connection
    /// handles a request, has unsent replies or is closed. Any thread.
    std::optional<Clock::time_point> IdleSince() const;
    /// Excludes the connection from being closed in favour of a new one. Any thread.
    void Protect() { m_isProtected = true; }
    bool IsProtected() const { return m_isProtected; }

private:
    enum class Receiving {
        Waiting,   ///< a read is pending, or about to be started
        Handling,  ///< received bytes are being handled; replies are written when that ends
        PeerEnded, ///< the peer has shut down its sending side; no read is pending, but replies may still be sent
        Ended,     ///< the end has been reported
    };
    enum class Sending {
        Ready,   ///< the socket may accept more bytes
        Blocked, ///< the socket's send buffer is full; a wait for space is pending
        Failed,  ///< a write has failed: replies are dropped, but bytes that have arrived are still read
    };

    void WaitForBytes();
    void ReadBytes(asio::error_code error, std::size_t count);
    asio::error_code ReadMore();
    bool TakeBytes(std::string_view bytes);
    void PeerEnded();
    void End();

    void FlushLocked();
    void WaitForSpaceLocked();
    void WriteLocked();
    void EndSendingLocked(const std::string& reason);
    void DropQueueLocked();
    void CloseLocked(const std::string& reason, bool resets = false);
    bool IsOpenLocked() const { return m_socket.is_open(); }

    CIoThreads& m_threads;
    const SConnectionLimits m_limits;
    const std::shared_ptr<CChannelMemory> m_memory;
    const FrameCallback m_onFrame;
    const EndCallback m_onEnd;
    const std::uint64_t m_number = CTraffic::GetInstance().NextConnection();
    std::string m_remoteIp;
    std::uint16_t m_remotePort = 0;
    std::string m_remoteText;

    CFrameReader m_reader; ///< used by the reading thread in Receiving::Handling, otherwise under the mutex
    std::array<char, 512> m_firstBytes;
    std::atomic<bool> m_isProtected{false}; ///< not to be closed in favour of a new connection

    mutable std::mutex m_mutex; ///< guards the members below
    CMemoryBudget::CShare m_input;
    CMemoryBudget::CShare m_output;
    asio::ip::tcp::socket m_socket;
    std::deque<std::shared_ptr<const Comm::RequestPackage>> m_queue;
    std::vector<asio::const_buffer> m_gather; ///< buffers of the current write; a member to reuse its memory
    std::size_t m_sentOfFirst = 0;            ///< bytes of the first queued package that are already sent
    std::size_t m_queuedBytes = 0;            ///< unsent bytes in the queue
    // Independent of each other, and of whether the socket is open: Close may be called in every state.
    Receiving m_receiving = Receiving::Waiting;
    Sending m_sending = Sending::Ready;
    /// Since when the rest of an envelope is awaited or, after the peer has ended, its last reads.
    std::optional<Clock::time_point> m_unfinishedSince;
    std::size_t m_frames = 0;                    ///< number of envelopes received so far
    std::size_t m_seenFrames = 0;                ///< value of m_frames at the last CheckDeadline
    Clock::time_point m_activeAt = Clock::now(); ///< last CheckDeadline that found a new envelope
    std::string m_closeReason;                   ///< the first reason to close
};
