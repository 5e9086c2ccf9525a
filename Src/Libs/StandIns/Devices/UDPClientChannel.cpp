#include "Interfaces/DeviceChannels.h"
#include "Traffic/Traffic.h"

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace {

/// Requested size of the system's send buffer: enough for some hundred commands at once. The system may limit it.
constexpr int kSendBufferBytes = 1 << 20;

void Note(const std::string& peer, const std::string& text)
{
    CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note, TrafficChannel::Devices, peer, text});
}

/// A local port that datagrams are sent from. All channels with the same address and port share it, so that a failure
/// is reported once. Received datagrams are not read. Any thread.
class CLocalPort {
public:
    CLocalPort(const std::string& ip, unsigned short port) : m_ip(ip), m_port(port) {}

    static std::shared_ptr<CLocalPort> Get(const std::string& ip, unsigned short port)
    {
        static std::mutex mutex;
        static std::map<std::pair<std::string, unsigned short>, std::weak_ptr<CLocalPort>> ports;
        const std::lock_guard lock(mutex);
        std::weak_ptr<CLocalPort>& known = ports[{ip, port}];
        std::shared_ptr<CLocalPort> shared = known.lock();
        if (!shared)
            known = shared = std::make_shared<CLocalPort>(ip, port);
        return shared;
    }

    /// Binds the port if it is not bound. Returns false when that fails.
    bool Open()
    {
        const std::lock_guard lock(m_mutex);
        return OpenLocked();
    }

    /// Sends a datagram. Tries to bind the port first if it is not bound; the datagram is lost when that fails.
    /// \param error set when sending fails, but not when binding fails
    bool Send(const std::string& datagram, const asio::ip::udp::endpoint& remote, asio::error_code& error)
    {
        const std::lock_guard lock(m_mutex);
        if (!OpenLocked()) {
            ++m_lost;
            return false;
        }
        m_socket.send_to(asio::buffer(datagram), remote, 0, error);
        return !error;
    }

private:
    bool OpenLocked()
    {
        if (m_socket.is_open())
            return true;
        const asio::error_code error = Bind();
        const std::string port = "local port " + std::to_string(m_port);
        if (!error && m_failed)
            Note({}, port + " can be used again; datagrams lost: " + std::to_string(std::exchange(m_lost, 0)));
        if (error && !m_failed)
            Note({}, "can't use " + port + ", tries again at each command: " + error.message());
        m_failed = static_cast<bool>(error);
        return !error;
    }

    asio::error_code Bind()
    {
        asio::error_code error;
        asio::error_code ignored;
        const auto address = m_ip.empty() ? asio::ip::address_v4::any() : asio::ip::make_address_v4(m_ip, error);
        if (!error)
            m_socket.open(asio::ip::udp::v4(), error);
        // Another host on this machine may use the same local port for its devices.
        if (!error)
            m_socket.set_option(asio::socket_base::reuse_address(true), error);
        if (!error)
            m_socket.set_option(asio::socket_base::broadcast(true), error);
        // A network that accepts no data must not delay the other devices.
        if (!error)
            m_socket.non_blocking(true, error);
        m_socket.set_option(asio::socket_base::send_buffer_size(kSendBufferBytes), ignored);
        if (!error)
            m_socket.bind({address, m_port}, error);
        if (error)
            m_socket.close(ignored);
        return error;
    }

    const std::string m_ip;
    const unsigned short m_port;
    asio::io_context m_context;
    std::mutex m_mutex;
    asio::ip::udp::socket m_socket{m_context};
    bool m_failed = false;
    std::size_t m_lost = 0;
};

} // namespace

/// Sends on the caller's thread, without waiting.
class Comm::UDPClientChannel::Impl {
public:
    bool Open(const std::string& localIp, unsigned short localPort)
    {
        const auto port = CLocalPort::Get(localIp, localPort);
        {
            const std::lock_guard lock(m_mutex);
            m_port = port;
        }
        return port->Open();
    }

    bool Send(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
    {
        asio::error_code error;
        const asio::ip::udp::endpoint remote(asio::ip::make_address_v4(remoteIp, error), remotePort);
        const std::shared_ptr<CLocalPort> port = Port();
        // The behaviour for port 0 depends on the system.
        if (!error && (remotePort == 0 || !port))
            error = asio::error::invalid_argument;
        const bool sent = !error && port->Send(datagram, remote, error);
        if (error)
            Note(AddressText(remoteIp, remotePort),
                 std::to_string(datagram.size()) + " bytes not sent: " + error.message());
        if (sent && CTraffic::WantsMessages()) {
            STrafficRecord record{STrafficRecord::Kind::Message, TrafficChannel::Devices,
                                  AddressText(remoteIp, remotePort)};
            record.payload = datagram;
            record.wireBytes = datagram.size();
            CTraffic::GetInstance().Publish(std::move(record));
        }
        return sent;
    }

private:
    std::shared_ptr<CLocalPort> Port()
    {
        const std::lock_guard lock(m_mutex);
        return m_port;
    }

    std::mutex m_mutex;
    std::shared_ptr<CLocalPort> m_port;
};

Comm::UDPClientChannel::UDPClientChannel(std::size_t)
{
    // Callers don't expect exceptions: if no descriptor is available, Init and SendTo return false.
    try {
        m_impl = std::make_unique<Impl>();
    } catch (const std::exception& error) {
        Note({}, error.what());
    }
}

Comm::UDPClientChannel::~UDPClientChannel() = default;

bool Comm::UDPClientChannel::Init(const std::string& localIp, unsigned short localPort)
{
    try {
        return m_impl && m_impl->Open(localIp, localPort);
    } catch (const std::exception& error) {
        Note({}, error.what());
        return false;
    }
}

bool Comm::UDPClientChannel::SendTo(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    return m_impl && m_impl->Send(datagram, remoteIp, remotePort);
}
