#include "Interfaces/AppServer.h"

#include "AppServer/AppServerConfig.h"
#include "Support/TcpPeer.h"
#include "Support/Waiting.h"

#include <QTemporaryDir>
#include <QUdpSocket>

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Optional;
using testing::UnorderedElementsAre;

namespace {

constexpr char kAddress[] = "127.0.0.22";
constexpr char kPeerAddress[] = "127.0.0.1"; ///< where the system lets connections to there come from

constexpr std::uint32_t kAskBoth = 0x21; ///< answered to the connected app on both channels
const SFrame kAnswer{0x10000021, "answer"};
const SFrame kEvent{0x10000306, "event"};

std::shared_ptr<Comm::RequestPackage> Package(const SFrame& frame)
{
    auto package = std::make_shared<Comm::RequestPackage>();
    package->data = EnvelopeBytes(frame.code, frame.body);
    package->length = package->data.size();
    return package;
}

/// An app with its two connections.
struct SApp {
    CTcpPeer control{kAddress, AppServer::kControlPort};
    CTcpPeer bulk{kAddress, AppServer::kBulkPort};
};

class AppChannelsTest : public testing::Test {
protected:
    AppChannelsTest()
    {
        AppServer::SetConfig({kAddress, "demo", "demo", m_folder.path().toStdString()});
        m_server.SetCallBackFunc([this](auto package) { TakePackage(*package); },
                                 [this](auto package) { TakeDatagram(*package); }, [](const std::string&) {});
        m_server.SetConnectedFuc([this](const std::string& ip, unsigned short port) { Note("open", ip, port); });
        m_server.InitServer();
    }

    void TakePackage(const Comm::ResponsePackage& package)
    {
        ++m_packages;
        if (package.closed) {
            Note("closed", package.remoteIp, package.remotePort);
            return;
        }
        for (const int channel : {AppServer::Control, AppServer::Bulk})
            m_server.SendPackage(Package(kAnswer), channel, {}, AppServer::kConnectedApp);
    }

    void TakeDatagram(const Comm::ResponsePackage& package)
    {
        m_server.SendUdpData(std::to_string(package.payload.size()), package.remoteIp, package.remotePort);
    }

    void Note(const std::string& what, const std::string& ip, std::uint16_t port)
    {
        const std::lock_guard lock(m_mutex);
        m_notes[port].push_back(what + ' ' + ip);
    }

    std::vector<std::string> NotesOf(std::uint16_t port)
    {
        const std::lock_guard lock(m_mutex);
        return m_notes[port];
    }

    /// Apps whose connections the server knows by now.
    std::unique_ptr<SApp> Connect()
    {
        auto app = std::make_unique<SApp>();
        for (const CTcpPeer* peer : {&app->control, &app->bulk})
            EXPECT_TRUE(WaitUntil([&] { return !NotesOf(peer->LocalPort()).empty(); }));
        return app;
    }

    QTemporaryDir m_folder;
    std::mutex m_mutex;
    std::map<std::uint16_t, std::vector<std::string>> m_notes;
    std::atomic<int> m_packages{0};
    CAPPServerManager m_server;
};

} // namespace

TEST_F(AppChannelsTest, TheConnectedAppIsTheOneThatAskedOnBothItsChannels)
{
    const auto first = Connect();
    const auto second = Connect();
    const auto third = Connect();

    second->bulk.Send(kAskBoth);

    EXPECT_THAT(second->control.Receive(), Optional(kAnswer));
    EXPECT_THAT(second->bulk.Receive(), Optional(kAnswer));
    for (const auto& other : {first.get(), third.get()}) {
        other->control.Send(kAskBoth);
        EXPECT_THAT(other->control.Receive(), Optional(kAnswer));
        EXPECT_THAT(other->bulk.Receive(), Optional(kAnswer));
        // Nothing of another app's came before or after.
        EXPECT_EQ(other->control.Receive(20ms), std::nullopt);
        EXPECT_EQ(other->bulk.Receive(20ms), std::nullopt);
    }
}

TEST_F(AppChannelsTest, AnEventGoesToEveryConnectionOfItsChannelAndAnAddressedPackageToOne)
{
    const auto first = Connect();
    const auto second = Connect();

    m_server.SendPackage(Package(kEvent), AppServer::Control, {}, AppServer::kConnectedApp);
    m_server.SendPackage(Package(kAnswer), AppServer::Control, kPeerAddress, second->control.LocalPort());
    m_server.SendPackage(Package(kAnswer), AppServer::Control, "127.0.0.99", second->control.LocalPort());
    m_server.SendPackage(Package(kAnswer), 7, {}, AppServer::kConnectedApp);

    EXPECT_THAT(first->control.Receive(), Optional(kEvent));
    EXPECT_EQ(first->control.Receive(20ms), std::nullopt);
    EXPECT_EQ(first->bulk.Receive(20ms), std::nullopt);
    EXPECT_THAT(second->control.Receive(), Optional(kEvent));
    EXPECT_THAT(second->control.Receive(), Optional(kAnswer));
    EXPECT_EQ(second->control.Receive(20ms), std::nullopt);
}

TEST_F(AppChannelsTest, DisconnectingAnAppClosesBothItsConnectionsAndTellsEachOnce)
{
    const auto gone = Connect();
    const auto stays = Connect();
    const std::uint16_t goneControl = gone->control.LocalPort();
    const std::uint16_t goneBulk = gone->bulk.LocalPort();

    m_server.DisConnect(kPeerAddress, goneControl);
    m_server.DisConnect(kPeerAddress, 1);

    EXPECT_TRUE(gone->control.IsClosedByPeer());
    EXPECT_TRUE(gone->bulk.IsClosedByPeer());
    const std::vector<std::string> openedAndClosed = {"open 127.0.0.1", "closed 127.0.0.1"};
    EXPECT_TRUE(
        WaitUntil([&] { return NotesOf(goneControl) == openedAndClosed && NotesOf(goneBulk) == openedAndClosed; }));
    stays->control.Send(kAskBoth);
    EXPECT_THAT(stays->control.Receive(), Optional(kAnswer));
}

TEST_F(AppChannelsTest, DatagramsOfEverySizeAreDeliveredWholeAndAnsweredToTheirSender)
{
    QUdpSocket socket;
    ASSERT_TRUE(socket.bind(QHostAddress("127.0.0.22")));

    for (const int size : {0, 38, 39, 65507}) {
        socket.writeDatagram(QByteArray(size, 'x'), QHostAddress(kAddress), AppServer::kDiscoveryPort);
        ASSERT_TRUE(socket.waitForReadyRead(20000)) << size;
        QByteArray answer(100, '\0');
        answer.resize(static_cast<int>(socket.readDatagram(answer.data(), answer.size())));
        EXPECT_EQ(answer, QByteArray::number(size));
    }
    m_server.SendUdpData("nowhere", "no address", 5);
    m_server.SendUdpData("nowhere", {}, 0);
}

TEST_F(AppChannelsTest, NothingIsDeliveredOnceTheServerIsStoppedAndItCanStartAgain)
{
    auto app = Connect();
    std::atomic<bool> done{false};
    std::thread flood([&] {
        while (!done)
            app->control.Send(kAskBoth);
    });
    ASSERT_TRUE(WaitUntil([&] { return m_packages > 100; }));

    m_server.UninitServer();
    const int packages = m_packages;
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(m_packages, packages);
    done = true;
    flood.join();
    m_server.SendPackage(Package(kEvent), AppServer::Control, {}, AppServer::kConnectedApp);

    m_server.InitServer();
    app = Connect();
    app->bulk.Send(kAskBoth);
    EXPECT_THAT(app->bulk.Receive(), Optional(kAnswer));
}
