#include "Interfaces/FPClient.h"

#include "FPClient/FPClientConfig.h"
#include "Support/EventLog.h"
#include "Support/OneShow.h"
#include "Support/Package.h"
#include "Support/TcpPeer.h"

#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

namespace {

constexpr char kAddress[] = "127.0.0.52";
constexpr std::uint32_t kWait = 0x112; ///< a packet that the module under test answers slowly

/// The FP controller, which the client connects to.
class CController {
public:
    CController() : m_acceptor(m_context, {asio::ip::make_address(kAddress), FPClient::kDefaultPort}) {}

    std::unique_ptr<CTcpPeer> Accept()
    {
        auto peer = std::make_unique<CTcpPeer>();
        return peer->Accept(m_acceptor) ? std::move(peer) : nullptr;
    }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
};

/// A client whose module echoes every packet.
class FPChannelTest : public testing::Test {
protected:
    ~FPChannelTest() override
    {
        m_gate.Open();
        m_client.reset();
    }

    void Start(CTcpClient::STimeouts timeouts = {1s, 5ms, 20ms})
    {
        FPClient::Config().Set({kAddress, FPClient::kDefaultPort, timeouts});
        m_client = std::make_unique<CFPClientManager>();
        m_client->SetCallBackFunc([this, client = m_client.get()](auto package) { Take(*client, *package); });
        m_client->InitServer();
    }

    void Take(CFPClientManager& client, const Comm::ResponsePackage& package)
    {
        EXPECT_TRUE(ReadsOneShow());
        EXPECT_EQ(package.remoteIp, kAddress);
        EXPECT_EQ(package.remotePort, FPClient::kDefaultPort);
        EXPECT_EQ(package.payload.empty(), package.closed != 0);
        const std::uint32_t code = package.closed ? 0 : Envelope::ReadNumber(package.payload.data() + 4);
        m_taken.Add(package.closed ? "closed" : package.payload.substr(12));
        if (code == kWait)
            m_gate.Wait();
        if (!package.closed)
            client.SendPackage(Package(package.payload));
    }

    CGate m_gate;
    CNotes m_taken;
    CEventLog m_log{false};
    std::unique_ptr<CFPClientManager> m_client;
};

} // namespace

TEST_F(FPChannelTest, CompletePacketsAreDeliveredAfterThePeerHasClosed)
{
    // Several reads, but still within the system's receive buffer.
    const std::string large(30'000, 'l');
    for (const bool resets : {false, true}) {
        SCOPED_TRACE(resets);
        m_gate.Close();
        CController controller;
        Start();
        const auto peer = controller.Accept();
        ASSERT_TRUE(peer);

        // Sending the answer to the first packet fails; by then the other packets have arrived and are not read yet.
        peer->Send(EnvelopeBytes(kWait, "first"));
        ASSERT_FALSE(m_taken.WaitFor(1).empty());
        peer->Send(EnvelopeBytes(1, "second") + EnvelopeBytes(1, large) + EnvelopeBytes(1, "last"));
        peer->Send(EnvelopeBytes(1, "cut off").substr(0, 15));
        if (resets)
            peer->Reset();
        else
            peer->Close();
        m_gate.Open();

        EXPECT_THAT(m_taken.WaitFor(5), ElementsAre("first", "second", large, "last", "closed"));
        m_client.reset();
        m_taken.Clear();
    }
}

TEST_F(FPChannelTest, StoppingNotifiesTheCloseAndDropsRequestsThatHaveNotStarted)
{
    CController controller;
    Start();
    const auto peer = controller.Accept();
    ASSERT_TRUE(peer);
    peer->Send(EnvelopeBytes(kWait, "first") + EnvelopeBytes(1, "second") + EnvelopeBytes(1, "third"));
    ASSERT_FALSE(m_taken.WaitFor(1).empty());

    std::thread ending([this] { m_client.reset(); });
    EXPECT_TRUE(peer->IsClosedByPeer());
    m_gate.Open();
    ending.join();

    EXPECT_THAT(m_taken.All(), ElementsAre("first", "closed"));
}

TEST_F(FPChannelTest, ItReconnectsWhenTheConnectionEndsOrIsInvalid)
{
    Start();
    ASSERT_TRUE(WaitUntil([&] { return m_log.Has("retrying: Connection refused"); }));
    for (std::size_t i = 0; i < 3; ++i) {
        CController controller;
        const auto peer = controller.Accept();
        ASSERT_TRUE(peer) << i;
        peer->Send(1, "good");
        EXPECT_THAT(peer->Receive(), Optional(SFrame{1, "good"}));
        peer->Send("no envelope");
        EXPECT_TRUE(peer->IsClosedByPeer());
        const auto next = controller.Accept();
        ASSERT_TRUE(next);
        next->Reset();
        ASSERT_GE(m_taken.WaitFor(3 * (i + 1)).size(), 3 * (i + 1));
    }

    // One more connection may have been opened and closed before each controller was.
    const std::vector<std::string> taken = m_taken.All();
    EXPECT_EQ(std::count(taken.begin(), taken.end(), "good"), 3);
    EXPECT_GE(std::count(taken.begin(), taken.end(), "closed"), 6);
}

TEST_F(FPChannelTest, AConnectionResetsThePauses)
{
    CController controller;
    Start({1s, 1ms, 60min});

    // Without the reset the pauses would grow to a minute.
    for (int i = 0; i < 16; ++i)
        ASSERT_TRUE(controller.Accept()) << i;
}

TEST_F(FPChannelTest, PackagesOfEachThreadArriveInOrder)
{
    constexpr int kThreads = 4;
    constexpr int kPackages = 500;
    CController controller;
    Start();
    const auto peer = controller.Accept();
    peer->Send(1, "there");
    ASSERT_TRUE(peer->Receive());

    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kPackages; ++i)
                m_client->SendPackage(Package(EnvelopeBytes(thread, std::to_string(i))));
        });
    }
    std::vector<int> next(kThreads, 0);
    for (int i = 0; i < kThreads * kPackages; ++i) {
        const auto frame = peer->Receive();
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->body, std::to_string(next[frame->code]++));
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(FPChannelTest, APackageThatIsSentWhileNotConnectedIsDroppedAndLogged)
{
    Start();
    m_client->SendPackage(Package(EnvelopeBytes(0x112, "lost")));

    EXPECT_THAT(m_log.Text(), HasSubstr("dropped: picture-adjustment (0x112), 16 bytes"));
    CController controller;
    const auto peer = controller.Accept();
    peer->Send(1, "kept");
    EXPECT_THAT(peer->Receive(), Optional(SFrame{1, "kept"}));
}
