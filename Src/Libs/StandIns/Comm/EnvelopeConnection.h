#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/ChannelMemory.h"
#include "Comm/FrameReader.h"
#include "Comm/IoThreads.h"
#include "Interfaces/ZXComm.h"

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

/// What a peer may ask of a connection before it is closed.
struct SConnectionLimits {
    std::size_t maxBodyBytes = Envelope::kMaxRequestBodyBytes;
    /// A peer that doesn't read: room for the largest reply, no more.
    std::size_t maxQueuedBytes = Envelope::kMaxReplyBodyBytes;
    /// How long an envelope may wait for the peer's next bytes until it is complete; the time that the host takes
    /// doesn't count. So must our last replies be taken, once the peer has ended its side.
    std::chrono::milliseconds deadline = std::chrono::seconds(10);
};

/// One TCP connection that carries app envelopes. Its frame callbacks run one after the other, on the thread that read
/// them; replies that are sent from within go out together when the bytes at hand are dealt with. Send and Close may be
/// called from any thread and never wait.
class CEnvelopeConnection : public std::enable_shared_from_this<CEnvelopeConnection> {
public:
    using Ptr = std::shared_ptr<CEnvelopeConnection>;
    using FrameCallback = std::function<void(const Ptr&, std::string frame)>;
    /// The connection has ended; no frame follows.
    using EndCallback = std::function<void(const Ptr&, const std::string& reason)>;
    using Clock = std::chrono::steady_clock;

    CEnvelopeConnection(CIoThreads& threads, asio::ip::tcp::socket socket, SConnectionLimits limits,
                        std::shared_ptr<CChannelMemory> memory, FrameCallback onFrame, EndCallback onEnd);

    const std::string& RemoteIp() const { return m_remoteIp; }
    std::uint16_t RemotePort() const { return m_remotePort; }
    std::string RemoteText() const { return AddressText(m_remoteIp, m_remotePort); }

    /// Begins to read.
    void Start();
    /// False when nothing can be sent any more.
    bool Send(std::shared_ptr<const Comm::RequestPackage> package);
    void Close(const std::string& reason);
    /// Closes the connection if it has waited for its peer for longer than the limits allow. To be called at
    /// intervals, which are the resolution of IdleSince.
    void CheckDeadline(Clock::time_point now);

    /// The memory that the unfinished envelope and the unsent replies take. Any thread.
    std::size_t InputBytes() const { return m_input.Bytes(); }
    std::size_t OutputBytes() const { return m_output.Bytes(); }
    /// When it last had a request, or was opened. Nothing while it is handling one or has unsent replies, or is
    /// closed. Any thread.
    std::optional<Clock::time_point> IdleSince() const;
    /// From now on it isn't closed to make room for a new connection. Any thread.
    void Spare() { m_isSpared = true; }
    bool IsSpared() const { return m_isSpared; }

private:
    void WaitForBytes();
    void ReadBytes(asio::error_code error, std::size_t count);
    asio::error_code ReadOn();
    bool TakeBytes(std::string_view bytes);
    void PeerEnded();
    void End();

    void FlushLocked();
    void WaitForRoomLocked();
    void WriteLocked();
    void EndSendingLocked(const std::string& reason);
    void DropQueueLocked();
    void CloseLocked(const std::string& reason);
    bool IsOpenLocked() const { return m_socket.is_open(); }

    CIoThreads& m_threads;
    const SConnectionLimits m_limits;
    const std::shared_ptr<CChannelMemory> m_memory;
    const FrameCallback m_onFrame;
    const EndCallback m_onEnd;
    std::string m_remoteIp;
    std::uint16_t m_remotePort = 0;

    CFrameReader m_reader; ///< used by the reading thread alone while it takes bytes, else under the mutex
    std::array<char, 512> m_firstBytes;
    std::atomic<bool> m_isSpared{false};

    mutable std::mutex m_mutex; ///< guards the socket and what follows
    CMemoryBudget::CShare m_input;
    CMemoryBudget::CShare m_output;
    asio::ip::tcp::socket m_socket;
    std::deque<std::shared_ptr<const Comm::RequestPackage>> m_queue;
    std::vector<asio::const_buffer> m_gather;
    std::size_t m_sentOfFirst = 0;
    std::size_t m_queuedBytes = 0;
    bool m_takingBytes = false;  ///< frames are being handled: what they send is flushed once at the end
    bool m_waitsForRoom = false; ///< the kernel's buffer is full
    bool m_peerEnded = false;    ///< nothing more comes in; replies may still go out
    bool m_sendingEnded = false; ///< nothing more goes out; what has arrived is still read
    bool m_insideFrame = false;
    bool m_ended = false;
    Clock::time_point m_unfinishedSince;
    std::size_t m_frames = 0;     ///< received so far
    std::size_t m_seenFrames = 0; ///< at the last check of the deadline
    Clock::time_point m_activeAt = Clock::now();
    std::string m_closeReason;
};
