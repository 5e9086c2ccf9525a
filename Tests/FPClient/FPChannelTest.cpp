#include "Interfaces/FPClient.h"

#include "Comm/ChannelEvents.h"
#include "FPClient/FPClientConfig.h"
#include "Support/TcpPeer.h"
#include "Support/Waiting.h"

#include <asio/ip/tcp.hpp>
#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;

namespace {

constexpr char kAddress[] = "127.0.0.52";
constexpr std::uint32_t kWait = 0x112; ///< a packet that the module under test takes its time for

std::shared_ptr<Comm::RequestPackage> Package(const std::string& envelope)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    package->data = envelope;
    package->length = package->data.size();
    return package;
}

std::string Shortened(const std::string& body)
{
    return body.size() < 100 ? body : std::to_string(body.size()) + " bytes";
}

/// The FP controller's listening end.
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

/// A client whose module answers every packet with the packet itself.
class FPChannelTest : public testing::Test {
protected:
    FPChannelTest()
    {
        CChannelEvents::GetInstance().SetSink(
            [this](const SChannelEvent& event) {
                const std::lock_guard lock(m_mutex);
                m_events.push_back(event.text);
            },
            false);
    }

    ~FPChannelTest() override
    {
        Release();
        m_client.reset();
        CChannelEvents::GetInstance().SetSink({}, false);
    }

    void Start(CTcpClient::SPatience patience = {1s, 5ms, 20ms})
    {
        FPClient::SetConfig({kAddress, FPClient::kDefaultPort, patience});
        m_client = std::make_unique<CFPClientManager>();
        m_client->SetCallBackFunc([this, client = m_client.get()](auto package) { Take(*client, *package); });
        m_client->InitServer();
    }

    void Take(CFPClientManager& client, const Comm::ResponsePackage& package)
    {
        EXPECT_EQ(package.remoteIp, kAddress);
        EXPECT_EQ(package.remotePort, FPClient::kDefaultPort);
        EXPECT_EQ(package.payload.empty(), package.closed != 0);
        const std::uint32_t code = package.closed ? 0 : Envelope::ReadNumber(package.payload.data() + 4);
        {
            const std::lock_guard lock(m_mutex);
            m_taken.push_back(package.closed ? "closed" : Shortened(package.payload.substr(12)));
        }
        if (code == kWait)
            m_released.wait();
        if (!package.closed)
            client.SendPackage(Package(package.payload));
    }

    std::vector<std::string> Taken()
    {
        const std::lock_guard lock(m_mutex);
        return m_taken;
    }

    std::vector<std::string> Events()
    {
        const std::lock_guard lock(m_mutex);
        return m_events;
    }

    void Release()
    {
        std::call_once(m_releasing, [this] { m_release.set_value(); });
    }

    std::promise<void> m_release;
    std::once_flag m_releasing;
    std::shared_future<void> m_released = m_release.get_future().share();
    std::mutex m_mutex;
    std::vector<std::string> m_taken;
    std::vector<std::string> m_events;
    std::unique_ptr<CFPClientManager> m_client;
};

} // namespace

TEST_F(FPChannelTest, WhatArrivedWholeIsDeliveredThoughThePeerIsGone)
{
    const std::string large(30'000,
                            'l'); // several reads, and still within what the system takes for a peer that is gone
    for (const bool resets : {false, true}) {
        SCOPED_TRACE(resets);
        CController controller;
        Start();
        const auto peer = controller.Accept();
        ASSERT_TRUE(peer);

        // The answer to the first finds the peer gone; by then the rest has arrived and isn't read yet.
        peer->Send(EnvelopeBytes(kWait, "first"));
        ASSERT_TRUE(WaitUntil([&] { return !Taken().empty(); }));
        peer->Send(EnvelopeBytes(1, "second") + EnvelopeBytes(1, large) + EnvelopeBytes(1, "last"));
        peer->Send(EnvelopeBytes(1, "cut off").substr(0, 15));
        if (resets)
            peer->Reset();
        else
            peer->Close();
        Release();

        EXPECT_TRUE(WaitUntil([&] { return Taken().size() >= 5; }));
        EXPECT_THAT(Taken(), ElementsAre("first", "second", "30000 bytes", "last", "closed"));
        m_client.reset();
        m_taken.clear();
    }
}

TEST_F(FPChannelTest, ItConnectsAgainWheneverTheConnectionEndsOrIsNoGood)
{
    Start();
    ASSERT_TRUE(WaitUntil([&] { return !Events().empty(); })); // nobody listens yet
    for (int i = 0; i < 3; ++i) {
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
        ASSERT_TRUE(WaitUntil([&] { return static_cast<int>(Taken().size()) >= 3 * (i + 1); }));
    }

    // One more connection may have come and gone before each controller did.
    const std::vector<std::string> taken = Taken();
    EXPECT_EQ(std::count(taken.begin(), taken.end(), "good"), 3);
    EXPECT_GE(std::count(taken.begin(), taken.end(), "closed"), 6);
    EXPECT_THAT(Events(), Contains(HasSubstr("keeps trying: Connection refused")));
}

TEST_F(FPChannelTest, AConnectionBringsTheFirstPauseBack)
{
    Start({1s, 20ms, 60s});
    std::this_thread::sleep_for(650ms); // the pauses have grown to 640 ms by now
    CController controller;
    const auto first = controller.Accept();
    ASSERT_TRUE(first);

    const auto closed = std::chrono::steady_clock::now();
    first->Close();
    ASSERT_TRUE(controller.Accept());

    EXPECT_LT(std::chrono::steady_clock::now() - closed, 1s);
}

TEST_F(FPChannelTest, PackagesOfManyThreadsArriveInEachThreadsOrder)
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

TEST_F(FPChannelTest, WhatIsSentWhileNotConnectedIsDroppedWithALine)
{
    Start();
    m_client->SendPackage(Package(EnvelopeBytes(0x112, "lost")));

    EXPECT_THAT(Events(), Contains(HasSubstr("dropped: picture-adjustment (0x112), 16 bytes")));
    CController controller;
    const auto peer = controller.Accept();
    peer->Send(1, "kept");
    EXPECT_THAT(peer->Receive(), Optional(SFrame{1, "kept"}));
}
