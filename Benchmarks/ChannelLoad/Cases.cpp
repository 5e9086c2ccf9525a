#include "ChannelLoad/Cases.h"

#include "ChannelLoad/ShowHostProcess.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <deque>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kWarmUpShare = 0.1;
/// Requests between two readings of the clock.
constexpr std::size_t kRequestsPerClockReading = 64;
constexpr int kTimeoutMs = 10'000;

/// Calls step, which returns the number of replies that it received, until the time is over; returns the sum.
template <class Step>
std::size_t RunFor(double seconds, Step& step)
{
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    std::size_t requests = 0;
    while (Clock::now() < end) {
        Syscall::ThrowIfInterrupted();
        requests += step();
    }
    return requests;
}

template <class Step>
SLoad Measure(const SServer& server, double seconds, Step& step)
{
    const double ownCpuBefore = CpuSecondsOf(CLOCK_PROCESS_CPUTIME_ID);
    const double cpuBefore = server.process->CpuSeconds();
    const auto begin = Clock::now();
    const std::size_t requests = RunFor(seconds, step);
    const std::chrono::duration<double> elapsed = Clock::now() - begin;
    const double cpu = server.process->CpuSeconds() - cpuBefore;
    const double ownCpu = CpuSecondsOf(CLOCK_PROCESS_CPUTIME_ID) - ownCpuBefore;
    if (requests == 0)
        throw std::runtime_error(server.process->Name() + " sent no reply");
    const double count = static_cast<double>(requests);
    return {count / elapsed.count(), cpu / count * 1e6, (cpu + ownCpu) / elapsed.count(), {}};
}

/// Opens connections that have been answered once: the server has accepted them before anything is measured.
std::deque<CConnection> Open(std::size_t count, const SServer& server, const SExchange& exchange)
{
    std::deque<CConnection> connections;
    for (std::size_t i = 0; i < count; ++i)
        connections.emplace_back(server.process->Name(), server.address, exchange).Exchange();
    return connections;
}

/// Many connections in one epoll loop, each with one pending request.
class CTurns {
public:
    CTurns(const SServer& server, const SExchange& exchange)
        : m_request(exchange.request)
        , m_epoll(Syscall::Do("epoll_create1", [] { return epoll_create1(EPOLL_CLOEXEC); }))
        , m_connections(Open(Cases::kBusyConnections, server, exchange))
        , m_counts(m_connections.size(), 0)
    {
        for (std::size_t i = 0; i < m_connections.size(); ++i) {
            const int descriptor = m_connections[i].Descriptor();
            epoll_event event = {};
            event.events = EPOLLIN;
            event.data.u64 = i;
            Syscall::Do("epoll_ctl", [&] { return epoll_ctl(m_epoll.Get(), EPOLL_CTL_ADD, descriptor, &event); });
        }
        for (CConnection& connection : m_connections)
            connection.Send(m_request);
    }

    void ForgetCounts() { std::fill(m_counts.begin(), m_counts.end(), 0); }

    std::size_t operator()()
    {
        const int ready = Syscall::Do("epoll_wait", [&] {
            return epoll_wait(m_epoll.Get(), m_events.data(), static_cast<int>(m_events.size()), kTimeoutMs);
        });
        if (ready == 0)
            Syscall::Fail("epoll_wait", ETIMEDOUT);
        std::size_t replies = 0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(ready); ++i) {
            const std::size_t index = m_events[i].data.u64;
            // A part of a reply: the connection becomes ready again for the rest.
            if (m_connections[index].ReceiveReplies() == 0)
                continue;
            ++m_counts[index];
            ++replies;
            m_connections[index].Send(m_request);
        }
        return replies;
    }

    double SlowestOfMedian()
    {
        std::sort(m_counts.begin(), m_counts.end());
        const std::size_t median = m_counts[m_counts.size() / 2];
        return median == 0 ? 0 : static_cast<double>(m_counts.front()) / static_cast<double>(median);
    }

private:
    const std::string& m_request;
    CDescriptor m_epoll;
    std::deque<CConnection> m_connections;
    std::vector<std::size_t> m_counts;
    std::array<epoll_event, Cases::kBusyConnections> m_events;
};

/// Reads what a host sends to a stage page (RFC 6455). Reads on any core, as a browser does.
class COpenPage {
public:
    explicit COpenPage(sockaddr_in address)
        : m_socket(Syscall::Do("socket", [] { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }))
    {
        char ip[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &address.sin_addr, ip, sizeof ip);
        address.sin_port = htons(CShowHostProcess::kPagePort);
        const std::string authority = std::string(ip) + ':' + std::to_string(CShowHostProcess::kPagePort);
        const std::string request = "GET /live HTTP/1.1\r\nHost: " + authority + "\r\nOrigin: http://" + authority +
                                    "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                                    "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n";
        const auto* const peer = reinterpret_cast<const sockaddr*>(&address);
        Syscall::Do("connect", [&] { return connect(m_socket.Get(), peer, sizeof address); });
        Syscall::Do("send", [&] { return send(m_socket.Get(), request.data(), request.size(), 0); });
        if (Read() == 0)
            throw std::runtime_error("the host refuses the page");
        m_thread = std::thread([this] {
            cpu_set_t cores;
            std::memset(&cores, 0xff, sizeof cores);
            sched_setaffinity(0, sizeof cores, &cores);
            while (Read() > 0) {
            }
        });
    }
    ~COpenPage()
    {
        shutdown(m_socket.Get(), SHUT_RDWR);
        m_thread.join();
    }
    COpenPage(const COpenPage&) = delete;
    COpenPage& operator=(const COpenPage&) = delete;

private:
    std::size_t Read()
    {
        const ssize_t count = recv(m_socket.Get(), m_buffer.data(), m_buffer.size(), 0);
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    CDescriptor m_socket;
    std::array<char, 65536> m_buffer;
    std::thread m_thread;
};

} // namespace

SLoad Cases::OneAtATime(const SServer& server, const SExchange& exchange, double seconds)
{
    CConnection connection(server.process->Name(), server.address, exchange);
    const auto step = [&] {
        for (std::size_t i = 0; i < kRequestsPerClockReading; ++i)
            connection.Exchange();
        return kRequestsPerClockReading;
    };
    RunFor(seconds * kWarmUpShare, step);
    return Measure(server, seconds, step);
}

SLoad Cases::OneAtATimeBesideIdle(const SServer& server, const SExchange& exchange, double seconds)
{
    const auto idle = Open(kIdleConnections, server, exchange);
    return OneAtATime(server, exchange, seconds);
}

SLoad Cases::OneAtATimeBesidePage(const SServer& server, const SExchange& exchange, double seconds)
{
    std::optional<COpenPage> page;
    if (server.process->Name() == CShowHostProcess::kName)
        page.emplace(server.address);
    return OneAtATime(server, exchange, seconds);
}

SLoad Cases::InFlight(const SServer& server, const SExchange& exchange, double seconds)
{
    std::string requests;
    for (std::size_t i = 0; i < kInFlight; ++i)
        requests += exchange.request;

    CConnection connection(server.process->Name(), server.address, exchange);
    std::size_t underWay = 0;
    const auto refill = [&] {
        connection.Send(std::string_view(requests).substr(underWay * exchange.request.size()));
        underWay = kInFlight;
    };
    const auto receive = [&] {
        const std::size_t replies = connection.ReceiveReplies();
        if (replies > underWay)
            throw std::runtime_error(server.process->Name() + " sent more replies than requests");
        underWay -= replies;
        return replies;
    };
    const auto step = [&] {
        refill();
        return receive();
    };
    RunFor(seconds * kWarmUpShare, step);
    const SLoad load = Measure(server, seconds, step);
    while (underWay > 0)
        receive();
    return load;
}

SLoad Cases::ManyConnections(const SServer& server, const SExchange& exchange, double seconds)
{
    CTurns turns(server, exchange);
    RunFor(seconds * kWarmUpShare, turns);
    turns.ForgetCounts();
    SLoad load = Measure(server, seconds, turns);
    load.slowestOfMedian = turns.SlowestOfMedian();
    return load;
}
