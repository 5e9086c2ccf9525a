#include "Comm/TcpServer.h"

#include "Support/EventLog.h"
#include "Support/Package.h"
#include "Support/TcpPeer.h"

#include <asio/post.hpp>
#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Optional;

namespace {

constexpr char kAddress[] = "127.0.0.11";
constexpr std::uint16_t kPort = 25590;

enum Code : std::uint32_t {
    Echo = 1,
    WaitForRelease = 2,
    ReplyHuge = 3,
    CloseMe = 4,
    NeedMemory = 5,
};

/// A server that echoes, can be made slow, sends more than a peer reads, and records events.
class TcpServerTest : public testing::Test {
protected:
    void Start(SConnectionLimits limits = {}, SChannelLimits channelLimits = {}, std::size_t maxConnections = 1000,
               const char* address = kAddress)
    {
        m_server = std::make_unique<CTcpServer>(
            m_threads,
            CTcpServer::SOptions{TrafficChannel::AppControl, address, kPort, limits, channelLimits, maxConnections},
            CTcpServer::SCallbacks{
                [this](const auto&) { m_notes.Add("opened"); },
                [this](const auto& connection, const std::string& frame) { Answer(connection, frame); },
                [this](const auto&) { m_notes.Add("ended"); }});
        ASSERT_TRUE(m_server->Start());
        m_threads.Start();
    }

    ~TcpServerTest() override
    {
        m_gate.Open();
        m_threads.Stop();
    }

    void Answer(const CEnvelopeConnection::Ptr& connection, const std::string& frame)
    {
        switch (Envelope::ReadNumber(frame.data() + 4)) {
        case WaitForRelease:
            ++m_waiting;
            m_gate.Wait();
            break;
        case ReplyHuge:
            connection->Send(Package(EnvelopeBytes(ReplyHuge, std::string(8 << 20, 'h'))));
            return;
        case CloseMe:
            connection->Close("asked to");
            return;
        case NeedMemory:
            throw std::bad_alloc();
        }
        connection->Send(Package(frame));
    }

    /// Advances the server's clock by an hour.
    void CheckDeadlines()
    {
        for (const auto& connection : m_server->Connections())
            connection->CheckDeadline(CEnvelopeConnection::Clock::now() + 1h);
    }

    CGate m_gate;
    std::atomic<int> m_waiting{0};
    CNotes m_notes;
    CIoThreads m_threads;
    std::unique_ptr<CTcpServer> m_server;
};

} // namespace

TEST_F(TcpServerTest, HostilePeersAreClosedAndOtherPeersAreNotAffected)
{
    CEventLog log;
    Start({1000});
    CTcpPeer good(kAddress, kPort);

    CTcpPeer wrongMark(kAddress, kPort);
    wrongMark.Send("GET / HTTP/1.1\r\n\r\n");
    CTcpPeer tooLong(kAddress, kPort);
    tooLong.Send(EnvelopeBytes(Echo, std::string(1001, 'x')).substr(0, 12));
    CTcpPeer neverEnds(kAddress, kPort);
    neverEnds.Send(EnvelopeBytes(Echo, "whole") + EnvelopeBytes(Echo, "not whole").substr(0, 15));
    CTcpPeer dropped(kAddress, kPort);
    dropped.Send(EnvelopeBytes(Echo, "cut").substr(0, 13));
    dropped.Reset();
    CTcpPeer greedy(kAddress, kPort);
    greedy.Send(NeedMemory);

    EXPECT_TRUE(greedy.IsClosedByPeer());
    EXPECT_TRUE(wrongMark.IsClosedByPeer());
    EXPECT_TRUE(tooLong.IsClosedByPeer());
    EXPECT_THAT(neverEnds.Receive(), Optional(SFrame{Echo, "whole"}));
    CheckDeadlines();
    EXPECT_TRUE(neverEnds.IsClosedByPeer());
    EXPECT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 1; }));
    for (const char* reason : {"not enough memory for the request", "the received bytes are not an envelope",
                               "an envelope is longer than the maximum", "an envelope was not completed in time",
                               "Connection reset by peer"})
        EXPECT_TRUE(WaitUntil([&] { return log.Has(reason); })) << reason;
    good.Send(Echo, "still here");
    EXPECT_THAT(good.Receive(), Optional(SFrame{Echo, "still here"}));
}

TEST_F(TcpServerTest, AnIdlePeerAndOneThatSendsContinuouslyAreNotClosedAtTheDeadline)
{
    Start({1000, 64 << 20, 1h});
    CTcpPeer idle(kAddress, kPort);
    CTcpPeer steady(kAddress, kPort);

    // Every piece ends inside an envelope.
    const std::string frame = EnvelopeBytes(Echo, "steady");
    steady.Send(frame + frame.substr(0, 5));
    ASSERT_THAT(steady.Receive(), Optional(SFrame{Echo, "steady"}));
    const auto beforeNext = CEnvelopeConnection::Clock::now();
    steady.Send(frame.substr(5) + frame.substr(0, 5));
    ASSERT_THAT(steady.Receive(), Optional(SFrame{Echo, "steady"}));
    for (const auto& connection : m_server->Connections())
        connection->CheckDeadline(beforeNext + 1h);

    steady.Send(frame.substr(5));
    EXPECT_THAT(steady.Receive(), Optional(SFrame{Echo, "steady"}));
    idle.Send(Echo, "idle");
    EXPECT_THAT(idle.Receive(), Optional(SFrame{Echo, "idle"}));
}

TEST_F(TcpServerTest, TheHostsProcessingTimeDoesNotCountTowardsAPeersDeadline)
{
    Start();
    CTcpPeer batch(kAddress, kPort);
    CTcpPeer unread(kAddress, kPort);
    CTcpPeer late(kAddress, kPort);

    // The first read ends within the second envelope.
    batch.Send(EnvelopeBytes(Echo, std::string(490, 'x')) + EnvelopeBytes(WaitForRelease, "") + "ZXAP");
    ASSERT_TRUE(WaitUntil([&] { return m_waiting == 1; }));
    const std::string frame = EnvelopeBytes(Echo, "in two parts");
    for (CTcpPeer* peer : {&unread, &late}) {
        peer->Send(Echo);
        peer->Send(frame.substr(0, 20));
        ASSERT_TRUE(peer->Receive());
    }
    // Nothing is read during this call: no other thread takes over.
    std::atomic<bool> isBlocked{false};
    asio::post(m_threads.Context(), [&] {
        isBlocked = true;
        m_gate.Wait();
    });
    ASSERT_TRUE(WaitUntil([&] { return isBlocked.load(); }));
    unread.Send(frame.substr(20));
    CheckDeadlines();
    m_gate.Open();

    EXPECT_TRUE(batch.Receive());
    EXPECT_THAT(batch.Receive(), Optional(SFrame{WaitForRelease, ""}));
    EXPECT_THAT(unread.Receive(), Optional(SFrame{Echo, "in two parts"}));
    EXPECT_TRUE(late.IsClosedByPeer());
}

TEST_F(TcpServerTest, WhenAllConnectionsUseTooMuchMemoryTheLargestIsClosed)
{
    Start({}, {350'000, 20 << 20});
    CTcpPeer large(kAddress, kPort);
    CTcpPeer small(kAddress, kPort);
    CTcpPeer third(kAddress, kPort);
    const std::string frame = EnvelopeBytes(Echo, std::string(90'000, 'x'));
    const auto heldIs = [&](auto held, std::size_t least) {
        return WaitUntil([&] {
            std::size_t sum = 0;
            for (const auto& connection : m_server->Connections())
                sum += ((*connection).*held)();
            return sum >= least;
        });
    };

    for (CTcpPeer* peer : {&small, &third})
        peer->Send(frame.substr(0, 20'012));
    ASSERT_TRUE(heldIs(&CEnvelopeConnection::InputBytes, 40'024));
    large.Send(EnvelopeBytes(Echo, std::string(400'000, 'x')).substr(0, 340'000));
    EXPECT_TRUE(large.IsClosedByPeer());
    for (CTcpPeer* peer : {&small, &third}) {
        peer->Send(frame.substr(20'012));
        EXPECT_TRUE(peer->Receive());
    }

    small.Send(ReplyHuge);
    ASSERT_TRUE(heldIs(&CEnvelopeConnection::OutputBytes, 1 << 20));
    for (int i = 0; i < 4; ++i)
        third.Send(ReplyHuge);
    EXPECT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 1; }));
    EXPECT_TRUE(small.Receive());
}

TEST_F(TcpServerTest, ANewConnectionReplacesTheOneThatIsIdleLongest)
{
    Start({}, {}, 3);
    CTcpPeer spared(kAddress, kPort);
    ASSERT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 1; }));
    m_server->Connections().front()->Protect();
    CTcpPeer active(kAddress, kPort);
    ASSERT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 2; }));
    CTcpPeer idle(kAddress, kPort);
    ASSERT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 3; }));
    active.Send(Echo);
    ASSERT_TRUE(active.Receive());
    CheckDeadlines();

    CTcpPeer next(kAddress, kPort);
    EXPECT_TRUE(idle.IsClosedByPeer());
    active.Send(WaitForRelease);
    next.Send(WaitForRelease);
    ASSERT_TRUE(WaitUntil([&] { return m_waiting == 2; }));
    CTcpPeer refused(kAddress, kPort);
    EXPECT_TRUE(refused.IsClosedByPeer());

    m_gate.Open();
    spared.Send(Echo);
    for (CTcpPeer* peer : {&spared, &active, &next})
        EXPECT_TRUE(peer->Receive());
}

TEST_F(TcpServerTest, ClosingNotifiesEveryCloseAndDropsRequestsThatHaveNotStarted)
{
    Start();
    CTcpPeer batch(kAddress, kPort);
    CTcpPeer idle(kAddress, kPort);
    std::string requests;
    for (int i = 0; i < 100; ++i)
        requests += EnvelopeBytes(WaitForRelease, "");
    batch.Send(requests);
    ASSERT_TRUE(WaitUntil([&] { return m_waiting == 1; }));
    ASSERT_EQ(m_notes.WaitFor(2).size(), 2u);

    m_server->Close();
    EXPECT_THAT(m_notes.WaitFor(3), ElementsAre("opened", "opened", "ended"));
    m_gate.Open();
    m_server->WaitForEnd();

    EXPECT_THAT(m_notes.All(), ElementsAre("opened", "opened", "ended", "ended"));
    EXPECT_EQ(m_waiting, 1);
}

TEST_F(TcpServerTest, AnIPv4PeerHasADottedAddressOnADualStackSocket)
{
    Start({}, {}, 1000, "::ffff:127.0.0.11");
    CTcpPeer peer(kAddress, kPort);

    EXPECT_TRUE(WaitUntil([&] { return m_server->Find("127.0.0.1", peer.LocalPort()) != nullptr; }));
}

TEST_F(TcpServerTest, SlowRequestsDoNotDelayOtherPeers)
{
    Start();
    std::vector<std::unique_ptr<CTcpPeer>> slow;
    for (int i = 0; i < 8; ++i) {
        slow.push_back(std::make_unique<CTcpPeer>(kAddress, kPort));
        slow.back()->Send(WaitForRelease);
    }
    CTcpPeer other(kAddress, kPort);

    other.Send(Echo, "quick");

    EXPECT_THAT(other.Receive(), Optional(SFrame{Echo, "quick"}));
    EXPECT_TRUE(WaitUntil([&] { return m_waiting == 8; }));
}

TEST_F(TcpServerTest, APeerThatDoesNotReadIsClosedAtTheLimitAndOthersAreServed)
{
    Start({1000, 20 << 20, 10s});
    CTcpPeer stalled(kAddress, kPort);
    CTcpPeer other(kAddress, kPort);

    for (int i = 0; i < 10; ++i)
        stalled.Send(ReplyHuge);
    other.Send(Echo, "other");

    EXPECT_THAT(other.Receive(), Optional(SFrame{Echo, "other"}));
    EXPECT_TRUE(WaitUntil([&] { return m_server->Connections().size() == 1; }));
}

TEST_F(TcpServerTest, APeerThatShutsDownItsSendingSideStillGetsReplies)
{
    Start();
    CTcpPeer peer(kAddress, kPort);
    for (int i = 0; i < 4; ++i)
        peer.Send(ReplyHuge);
    peer.EndSending();

    for (int i = 0; i < 4; ++i) {
        const auto reply = peer.Receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->body.size(), std::size_t{8} << 20);
    }
    EXPECT_TRUE(peer.IsClosedByPeer());
    EXPECT_THAT(m_notes.WaitFor(2), ElementsAre("opened", "ended"));
}

TEST_F(TcpServerTest, APeerThatShutsDownItsSendingSideAndReadsNothingIsClosed)
{
    Start();
    CTcpPeer peer(kAddress, kPort);

    for (int i = 0; i < 4; ++i)
        peer.Send(ReplyHuge);
    peer.EndSending();

    EXPECT_TRUE(WaitUntil([&] {
        CheckDeadlines();
        return m_notes.All().size() > 1;
    }));
    EXPECT_THAT(m_notes.All(), ElementsAre("opened", "ended"));
}

TEST_F(TcpServerTest, AConnectionsEndDoesNotRemoveALaterOneFromTheSamePort)
{
    Start();
    const std::uint16_t port = 25599; // not one that the system gives to other connections
    CTcpPeer first;
    first.Connect(kAddress, kPort, port);
    first.Send(WaitForRelease);
    ASSERT_TRUE(WaitUntil([&] { return m_waiting == 1; }));
    first.Reset();
    CTcpPeer second;
    second.Connect(kAddress, kPort, port);
    EXPECT_THAT(m_notes.WaitFor(2), ElementsAre("opened", "opened"));
    m_gate.Open();
    EXPECT_THAT(m_notes.WaitFor(3), ElementsAre("opened", "opened", "ended"));

    const auto connection = m_server->Find("127.0.0.1", port);
    ASSERT_TRUE(connection);
    EXPECT_THAT(m_server->Connections(), ElementsAre(connection));
    EXPECT_FALSE(m_server->Find("127.0.0.2", port));
    second.Send(Echo, "second");
    EXPECT_THAT(second.Receive(), Optional(SFrame{Echo, "second"}));
}

TEST_F(TcpServerTest, ClosingDuringARequestEndsTheConnectionBeforeTheNextRequest)
{
    Start();
    CTcpPeer peer(kAddress, kPort);

    peer.Send(EnvelopeBytes(CloseMe, "") + EnvelopeBytes(WaitForRelease, "too late"));

    EXPECT_EQ(peer.Receive(), std::nullopt);
    EXPECT_THAT(m_notes.WaitFor(2), ElementsAre("opened", "ended"));
    EXPECT_EQ(m_waiting, 0);
}

TEST_F(TcpServerTest, WhenDescriptorsRunOutANewPeerIsServedAfterSomeAreFreed)
{
    CEventLog log;
    Start();
    CTcpPeer earlier(kAddress, kPort);
    earlier.Send(Echo, "a");
    ASSERT_TRUE(earlier.Receive());
    CTcpPeer late; // opens its own descriptor before the limit is lowered
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const int next = dup(0);
    close(next);
    const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);

    late.Connect(kAddress, kPort);
    late.Send(Echo, "late");
    const bool isRefused = WaitUntil([&] { return log.Has("can't accept"); });
    earlier.Send(Echo, "b");
    const auto ofEarlier = earlier.Receive();
    setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_TRUE(isRefused);
    EXPECT_THAT(ofEarlier, Optional(SFrame{Echo, "b"}));
    EXPECT_THAT(late.Receive(), Optional(SFrame{Echo, "late"}));
}
