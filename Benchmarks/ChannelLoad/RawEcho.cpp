#include "ChannelLoad/RawEcho.h"

#include <array>
#include <map>
#include <string_view>

#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t kReadBytes = std::size_t{64} << 10;
constexpr std::size_t kMaxEvents = 64;

/// The server's loop, inside the child.
class CEchoLoop {
public:
    CEchoLoop(const CDescriptor& listener, const SExchange& exchange)
        : m_listener(listener)
        , m_epoll(Syscall::Do("epoll_create1", [] { return epoll_create1(EPOLL_CLOEXEC); }))
        , m_requestBytes(exchange.request.size())
        , m_replyBytes(exchange.reply.size())
    {
        while (m_replies.size() < kReadBytes / m_requestBytes * m_replyBytes + m_replyBytes)
            m_replies += exchange.reply;
        Watch(m_listener.Get());
    }

    [[noreturn]] void Run()
    {
        std::array<epoll_event, kMaxEvents> events;
        for (;;) {
            const int count = Syscall::Do("epoll_wait", [&] {
                return epoll_wait(m_epoll.Get(), events.data(), static_cast<int>(events.size()), -1);
            });
            for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
                if (events[i].data.fd == m_listener.Get())
                    Accept();
                else
                    Answer(events[i].data.fd);
            }
        }
    }

private:
    void Watch(int descriptor)
    {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        Syscall::Do("epoll_ctl", [&] { return epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, descriptor, &event); });
    }

    void Accept()
    {
        const int peer =
            Syscall::Do("accept", [&] { return accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC); });
        const int on = 1;
        Syscall::Do("setsockopt", [&] { return setsockopt(peer, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on); });
        m_unanswered.emplace(peer, 0);
        Watch(peer);
    }

    void Answer(int peer)
    {
        // Neither call blocks: the socket is readable, and the buffers can hold all of the client's pending data.
        const auto count = recv(peer, m_read.data(), m_read.size(), 0);
        if (count <= 0) {
            m_unanswered.erase(peer);
            close(peer);
            return;
        }
        std::size_t& bytes = m_unanswered.find(peer)->second;
        bytes += static_cast<std::size_t>(count);
        std::string_view out(m_replies.data(), bytes / m_requestBytes * m_replyBytes);
        bytes %= m_requestBytes;
        while (!out.empty()) {
            const auto sent = Syscall::Do("send", [&] { return send(peer, out.data(), out.size(), MSG_NOSIGNAL); });
            out.remove_prefix(static_cast<std::size_t>(sent));
        }
    }

    const CDescriptor& m_listener;
    const CDescriptor m_epoll;
    const std::size_t m_requestBytes;
    const std::size_t m_replyBytes;
    std::string m_replies; ///< for all requests that fit into one read
    std::array<char, kReadBytes> m_read;
    std::map<int, std::size_t> m_unanswered; ///< bytes of an incomplete request, by descriptor
};

[[noreturn]] void EchoDatagrams(const CDescriptor& server, const std::string& reply)
{
    std::array<char, kReadBytes> buffer;
    for (;;) {
        sockaddr_in peer = {};
        socklen_t size = sizeof peer;
        const auto generic = reinterpret_cast<sockaddr*>(&peer);
        Syscall::Do("recvfrom",
                    [&] { return recvfrom(server.Get(), buffer.data(), buffer.size(), 0, generic, &size); });
        Syscall::Do("sendto", [&] { return sendto(server.Get(), reply.data(), reply.size(), 0, generic, size); });
    }
}

CDescriptor Listen(const std::string& ip, bool isDatagram)
{
    const int type = isDatagram ? SOCK_DGRAM : SOCK_STREAM;
    CDescriptor listener(Syscall::Do("socket", [&] { return socket(AF_INET, type | SOCK_CLOEXEC, 0); }));
    const sockaddr_in address = MakeAddress(ip, 0);
    const auto generic = reinterpret_cast<const sockaddr*>(&address);
    Syscall::Do("bind", [&] { return bind(listener.Get(), generic, sizeof address); });
    if (!isDatagram)
        Syscall::Do("listen", [&] { return listen(listener.Get(), SOMAXCONN); });
    return listener;
}

sockaddr_in AddressOf(const CDescriptor& listener)
{
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    const auto generic = reinterpret_cast<sockaddr*>(&address);
    Syscall::Do("getsockname", [&] { return getsockname(listener.Get(), generic, &size); });
    return address;
}

} // namespace

CRawEcho::CRawEcho(const std::string& ip, const SExchange& exchange)
    : CRawEcho(Listen(ip, exchange.isDatagram), exchange)
{}

CRawEcho::CRawEcho(CDescriptor listener, const SExchange& exchange)
    : m_address(AddressOf(listener)), m_process("raw echo", [&] {
        if (exchange.isDatagram)
            EchoDatagrams(listener, exchange.reply);
        CEchoLoop(listener, exchange).Run();
        return 0;
    })
{}
