#include "Interfaces/AppServer.h"

#include "AppServer/AppServerConfig.h"
#include "Support/OneShow.h"
#include "Support/Package.h"
#include "Support/TcpPeer.h"
#include "Traffic/Traffic.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

using testing::Contains;
using testing::Optional;
using testing::UnorderedElementsAre;

namespace {

constexpr char kAddress[] = "127.0.0.22";
constexpr char kPeerAddress[] = "127.0.0.1"; ///< the local address of connections to kAddress

constexpr std::uint32_t kAskBoth = 0x21; ///< a request that is answered on both channels of the connected app
const SFrame kAnswer{0x10000021, "answer"};
const SFrame kEvent{0x10000306, "event"};
const SFrame kLast{0x10000306, "last event"};

/// An app with both connections.
struct SApp {
    CTcpPeer control{kAddress, AppServer::kControlPort};
    CTcpPeer bulk{kAddress, AppServer::kBulkPort};
};

class AppChannelsTest : public testing::Test {
protected:
    AppChannelsTest()
    {
        AppServer::Config().Set({kAddress, "demo", "demo", m_folder.path().toStdString()});
        m_server.SetCallBackFunc([this](auto package) { TakePackage(*package); }, {}, {});
        m_server.SetConnectedFuc(
            [this](const std::string& ip, unsigned short port) { m_notes.Add("open " + AddressText(ip, port)); });
        m_server.InitServer();
    }

    void TakePackage(const Comm::ResponsePackage& package)
    {
        EXPECT_TRUE(ReadsOneShow());
        ++m_packages;
        if (package.closed) {
            m_notes.Add("closed " + AddressText(package.remoteIp, package.remotePort));
            return;
        }
        for (const int channel : {AppServer::Control, AppServer::Bulk})
            Send(kAnswer, channel);
    }

    void Send(const SFrame& frame, int channel, const std::string& ip = {},
              std::uint16_t port = AppServer::kConnectedApp)
    {
        m_server.SendPackage(Package(EnvelopeBytes(frame.code, frame.body)), channel, ip, port);
    }

    static std::string AddressOf(const CTcpPeer& peer) { return AddressText(kPeerAddress, peer.LocalPort()); }

    /// Returns an app whose connections the server has accepted.
    std::unique_ptr<SApp> Connect()
    {
        auto app = std::make_unique<SApp>();
        m_opened += 2;
        EXPECT_THAT(m_notes.WaitFor(m_opened), Contains("open " + AddressOf(app->bulk)));
        return app;
    }

    QTemporaryDir m_folder;
    CNotes m_notes;
    std::size_t m_opened = 0;
    std::atomic<int> m_packages{0};
    CAPPServerManager m_server;
};

} // namespace

TEST_F(AppChannelsTest, RepliesToTheConnectedAppGoToTheAppThatSentTheRequestOnBothChannels)
{
    const auto first = Connect();
    const auto second = Connect();
    const auto third = Connect();

    second->bulk.Send(kAskBoth);

    EXPECT_THAT(second->control.Receive(), Optional(kAnswer));
    EXPECT_THAT(second->bulk.Receive(), Optional(kAnswer));
    for (const int channel : {AppServer::Control, AppServer::Bulk})
        Send(kEvent, channel);
    for (const auto& app : {first.get(), second.get(), third.get()}) {
        EXPECT_THAT(app->control.Receive(), Optional(kEvent));
        EXPECT_THAT(app->bulk.Receive(), Optional(kEvent));
    }
}

TEST_F(AppChannelsTest, AnEventGoesToAllConnectionsOfItsChannelAndAnAddressedPackageToOne)
{
    const auto first = Connect();
    const auto second = Connect();

    Send(kEvent, AppServer::Control);
    Send(kAnswer, AppServer::Control, kPeerAddress, second->control.LocalPort());
    Send(kAnswer, AppServer::Control, "127.0.0.99", second->control.LocalPort());
    Send(kAnswer, 7);
    for (const int channel : {AppServer::Control, AppServer::Bulk})
        Send(kLast, channel);

    EXPECT_THAT(first->control.Receive(), Optional(kEvent));
    EXPECT_THAT(second->control.Receive(), Optional(kEvent));
    EXPECT_THAT(second->control.Receive(), Optional(kAnswer));
    for (const auto& app : {first.get(), second.get()}) {
        EXPECT_THAT(app->control.Receive(), Optional(kLast));
        EXPECT_THAT(app->bulk.Receive(), Optional(kLast));
    }
}

TEST_F(AppChannelsTest, AnAppThatConnectsAgainIsPairedAfterItsOldConnectionsHaveClosed)
{
    auto oldControl = std::make_unique<CTcpPeer>(kAddress, AppServer::kControlPort);
    m_notes.WaitFor(1);
    auto oldBulk = std::make_unique<CTcpPeer>(kAddress, AppServer::kBulkPort);
    m_notes.WaitFor(2);
    oldControl.reset();
    m_notes.WaitFor(3);
    CTcpPeer control{kAddress, AppServer::kControlPort}; // is paired with the old bulk connection
    m_notes.WaitFor(4);
    CTcpPeer bulk{kAddress, AppServer::kBulkPort};
    m_notes.WaitFor(5);
    oldBulk.reset();
    m_notes.WaitFor(6);

    control.Send(kAskBoth);

    EXPECT_THAT(control.Receive(), Optional(kAnswer));
    EXPECT_THAT(bulk.Receive(), Optional(kAnswer));
}

TEST_F(AppChannelsTest, DisconnectingAnAppClosesBothConnectionsAndNotifiesEachCloseOnce)
{
    const auto gone = Connect();
    const auto stays = Connect();
    m_notes.Clear();

    m_server.DisConnect(kPeerAddress, gone->control.LocalPort());
    m_server.DisConnect(kPeerAddress, 1);

    EXPECT_THAT(m_notes.WaitFor(2),
                UnorderedElementsAre("closed " + AddressOf(gone->control), "closed " + AddressOf(gone->bulk)));
    EXPECT_TRUE(gone->control.IsClosedByPeer());
    EXPECT_TRUE(gone->bulk.IsClosedByPeer());
    stays->control.Send(kAskBoth);
    EXPECT_THAT(stays->control.Receive(), Optional(kAnswer));
}

TEST_F(AppChannelsTest, StoppingNotifiesTheCloseOfEveryConnection)
{
    const auto first = Connect();
    const auto second = Connect();
    m_notes.Clear();

    m_server.UninitServer();

    EXPECT_THAT(m_notes.All(),
                UnorderedElementsAre("closed " + AddressOf(first->control), "closed " + AddressOf(first->bulk),
                                     "closed " + AddressOf(second->control), "closed " + AddressOf(second->bulk)));
}

TEST_F(AppChannelsTest, AStoppedServerDeliversNothingAndCanStartAgain)
{
    auto app = Connect();
    std::atomic<bool> done{false};
    std::atomic<int> sent{0};
    std::thread flood([&] {
        for (; !done; ++sent)
            app->control.Send(kAskBoth);
    });
    ASSERT_TRUE(WaitUntil([&] { return m_packages > 100; }));

    m_server.UninitServer();
    const int packages = m_packages;
    EXPECT_TRUE(WaitUntil([&, before = sent.load()] { return sent > before + 1000; }));
    EXPECT_EQ(m_packages, packages);
    done = true;
    flood.join();
    Send(kEvent, AppServer::Control);

    m_server.InitServer();
    m_notes.Clear();
    m_opened = 0;
    app = Connect();
    app->bulk.Send(kAskBoth);
    EXPECT_THAT(app->bulk.Receive(), Optional(kAnswer));
}
