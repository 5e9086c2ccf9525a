#include "Comm/UdpSocket.h"

#include "Comm/Sockets.h"
#include "Traffic/Faults.h"

#include <asio/buffer.hpp>
#include <asio/post.hpp>

#include <new>
#include <utility>

namespace {

/// Large enough for the largest UDP datagram.
constexpr std::size_t kBufferBytes = 65536;
/// Requested size of the system's receive buffer, which holds datagrams while no thread is free. The system may limit
/// it.
constexpr int kSystemBufferBytes = 4 << 20;
/// Maximum size of the queued datagrams of one peer: many times what a correct peer sends before it gets a reply.
constexpr std::size_t kMaxWaitingBytes = std::size_t{1} << 20;
/// Maximum size of the queued datagrams of all peers. A source address is easily forged, so the number of peers is
/// unlimited.
constexpr std::size_t kMaxWaitingBytesOfAll = std::size_t{16} << 20;

/// Maximum number of datagrams that are received, or handled for one peer, before other events are handled. Waiting for
/// an event costs about as much as receiving a datagram.
constexpr int kMaxInARow = 16;

std::size_t CostOf(const std::string& datagram)
{
    return datagram.size() + sizeof(std::string);
}

} // namespace

CUdpSocket::CUdpSocket(CIoThreads& threads, TrafficChannel channel, DatagramCallback onDatagram)
    : m_threads(threads)
    , m_channel(channel)
    , m_onDatagram(std::move(onDatagram))
    , m_socket(threads.Context())
    , m_buffer(kBufferBytes)
{}

bool CUdpSocket::Start(const std::string& address, std::uint16_t port)
{
    asio::error_code error;
    const Endpoint endpoint(asio::ip::make_address(address, error), port);
    {
        const std::lock_guard lock(m_sendMutex);
        if (!error)
            m_socket.open(endpoint.protocol(), error);
        m_servesIPv6 = endpoint.address().is_v6();
        if (!error)
            m_socket.bind(endpoint, error);
        if (!error)
            m_socket.non_blocking(true, error);
        asio::error_code ignored;
        m_socket.set_option(asio::socket_base::receive_buffer_size(kSystemBufferBytes), ignored);
    }
    const std::string text = AddressText(address, port);
    if (error) {
        CTraffic::GetInstance().Publish({STrafficRecord::Kind::Failed, m_channel, {}, text + ": " + error.message()});
        return false;
    }
    CTraffic::GetInstance().Publish({STrafficRecord::Kind::Listening, m_channel, {}, text});
    Receive();
    return true;
}

void CUdpSocket::Receive()
{
    m_socket.async_receive_from(asio::buffer(m_buffer), m_remote,
                                [this](const asio::error_code& error, std::size_t count) {
                                    if (error == asio::error::operation_aborted || error == asio::error::bad_descriptor)
                                        return;
                                    // Other errors report that an earlier datagram could not be delivered.
                                    if (error) {
                                        Receive();
                                        return;
                                    }
                                    ReceiveMore(count);
                                });
}

/// Receives the datagrams that have arrived after the first one, and then handles them.
void CUdpSocket::ReceiveMore(std::size_t count)
{
    std::vector<std::pair<Endpoint, std::string>> taken;
    asio::error_code error;
    for (int received = 1; !error; ++received) {
        std::string datagram(m_buffer.data(), count);
        if (TakeOrQueue(m_remote, datagram))
            taken.emplace_back(m_remote, std::move(datagram));
        if (received == kMaxInARow)
            break;
        count = m_socket.receive_from(asio::buffer(m_buffer), m_remote, 0, error);
    }
    // Each peer has an event of its own, and receiving continues meanwhile: if the handling of a datagram is slow,
    // another thread handles the other events.
    Receive();
    for (std::size_t i = 1; i < taken.size(); ++i) {
        asio::post(m_threads.Context(), [this, peer = taken[i].first, datagram = std::move(taken[i].second)]() mutable {
            Handle(peer, std::move(datagram));
        });
    }
    if (!taken.empty())
        Handle(taken.front().first, std::move(taken.front().second));
}

/// Returns true when the datagram is to be handled now. Otherwise it is queued until the peer's earlier datagrams have
/// been handled, or dropped if the queue is full.
bool CUdpSocket::TakeOrQueue(const Endpoint& peer, std::string& datagram)
{
    {
        const std::lock_guard lock(m_busyMutex);
        const auto [found, isNew] = m_busy.try_emplace(peer);
        if (isNew)
            return true;
        SBusyPeer& busy = found->second;
        const std::size_t cost = CostOf(datagram);
        if (busy.waitingBytes + cost <= kMaxWaitingBytes && m_waitingBytes + cost <= kMaxWaitingBytesOfAll) {
            busy.waitingBytes += cost;
            m_waitingBytes += cost;
            busy.waiting.push_back(std::move(datagram));
            return false;
        }
        if (std::exchange(busy.drops, true))
            return false;
    }
    Note(AddressText(IpText(peer.address()), peer.port()),
         "datagrams dropped: the peer sends faster than they are handled");
    return false;
}

/// Handles the datagram and those that are queued for the peer.
void CUdpSocket::Handle(const Endpoint& peer, std::string datagram)
{
    const std::string ip = IpText(peer.address());
    for (int handled = 1; true; ++handled) {
        try {
            const CIoThreads::CCallbackScope callbackScope(m_threads);
            m_onDatagram(std::move(datagram), ip, peer.port());
        } catch (const std::bad_alloc&) {
            Note(AddressText(ip, peer.port()), "datagram dropped: not enough memory");
        }
        const std::lock_guard lock(m_busyMutex);
        const auto found = m_busy.find(peer);
        SBusyPeer& busy = found->second;
        if (busy.waiting.empty()) {
            m_busy.erase(found);
            return;
        }
        datagram = std::move(busy.waiting.front());
        busy.waiting.pop_front();
        busy.waitingBytes -= CostOf(datagram);
        m_waitingBytes -= CostOf(datagram);
        if (handled == kMaxInARow) {
            asio::post(m_threads.Context(), [this, peer, datagram]() mutable { Handle(peer, std::move(datagram)); });
            return;
        }
    }
}

bool CUdpSocket::TakesOver(const CTrafficRequest& request, const std::string& ip, std::uint16_t port)
{
    return IsTakenOver(
        request, [](const char*) {}, [&](const SFault& fault) { Send(fault.reply, ip, port); });
}

void CUdpSocket::Send(const std::string& datagram, const std::string& ip, std::uint16_t port)
{
    const CTrafficRequest* const request = CTraffic::WantsMessages() ? CTrafficRequest::Current() : nullptr;
    const int copies = ApplyToReply(request && request->IsAnsweredOn(m_channel, 0) ? request : nullptr).copies;
    for (int i = 0; i < copies; ++i)
        SendOnce(datagram, ip, port);
}

void CUdpSocket::SendOnce(const std::string& datagram, const std::string& ip, std::uint16_t port)
{
    asio::error_code error;
    asio::ip::address address = asio::ip::make_address(ip, error);
    if (m_servesIPv6 && address.is_v4())
        address = asio::ip::make_address_v6(asio::ip::v4_mapped, address.to_v4());
    const Endpoint remote(address, port);
    if (error || port == 0) {
        Note(AddressText(ip, port), "datagram not sent: invalid address");
        return;
    }
    {
        const std::lock_guard lock(m_sendMutex);
        m_socket.send_to(asio::buffer(datagram), remote, 0, error);
    }
    if (error) {
        Note(AddressText(ip, port), "datagram not sent: " + error.message());
        return;
    }
    if (CTraffic::WantsMessages()) {
        STrafficRecord record = RecordOf(datagram, 0, ip, port);
        record.from = STrafficRecord::From::Host;
        CTraffic::GetInstance().Publish(std::move(record));
    }
}

STrafficRecord CUdpSocket::RecordOf(const std::string& datagram, std::uint32_t code, const std::string& ip,
                                    std::uint16_t port) const
{
    STrafficRecord record{STrafficRecord::Kind::Message, m_channel, AddressText(ip, port)};
    record.from = STrafficRecord::From::Remote;
    record.code = code;
    record.payload = datagram;
    record.wireBytes = datagram.size();
    return record;
}

void CUdpSocket::Note(const std::string& peer, const std::string& text) const
{
    CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, m_channel, peer, text});
}
