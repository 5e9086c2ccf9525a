#pragma once

#include "Comm/ChannelEvents.h"
#include "Comm/FrameReader.h"
#include "Comm/IoThreads.h"
#include "Interfaces/ZXComm.h"

#include <asio/ip/tcp.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// What a peer may ask of a connection before it is closed.
struct SConnectionLimits {
    std::size_t maxBodyBytes = Envelope::kMaxBodyBytes;
    /// A peer that doesn't read: room for the largest reply, no more.
    std::size_t maxQueuedBytes = Envelope::kMaxBodyBytes;
    /// An envelope must be whole this long after its first byte; so must our last replies be taken, once the peer has
    /// ended its side.
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

    CEnvelopeConnection(CIoThreads& threads, asio::ip::tcp::socket socket, SConnectionLimits limits,
                        FrameCallback onFrame, EndCallback onEnd);

    const std::string& RemoteIp() const { return m_remoteIp; }
    std::uint16_t RemotePort() const { return m_remotePort; }
    std::string RemoteText() const { return AddressText(m_remoteIp, m_remotePort); }

    /// Begins to read.
    void Start();
    /// False when nothing can be sent any more.
    bool Send(std::shared_ptr<const Comm::RequestPackage> package);
    void Close(const std::string& reason);
    /// Closes the connection if something has been unfinished for longer than the limits allow.
    void CheckDeadline(std::chrono::steady_clock::time_point now);

private:
    using Clock = std::chrono::steady_clock;

    void WaitForBytes();
    void ReadBytes(asio::error_code error, std::size_t count);
    asio::error_code ReadOn();
    bool TakeBytes(std::string_view bytes);
    void PeerEnded();
    void End();

    void FlushLocked();
    void WaitForRoomLocked();
    void EndSendingLocked(const std::string& reason);
    void CloseLocked(const std::string& reason);
    bool IsOpenLocked() const { return m_socket.is_open(); }

    CIoThreads& m_threads;
    const SConnectionLimits m_limits;
    const FrameCallback m_onFrame;
    const EndCallback m_onEnd;
    std::string m_remoteIp;
    std::uint16_t m_remotePort = 0;

    CFrameReader m_reader; ///< used by the reading thread alone, as is the buffer
    std::array<char, 512> m_firstBytes;

    std::mutex m_mutex; ///< guards the socket and what follows
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
    std::string m_closeReason;
};
