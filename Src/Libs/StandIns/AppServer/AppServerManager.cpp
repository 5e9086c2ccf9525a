#include "Interfaces/AppServer.h"

#include "AppServer/AppPeers.h"
#include "AppServer/AppServerConfig.h"
#include "AppServer/FtpUploadServer.h"
#include "Comm/EnvelopeTraffic.h"
#include "Comm/IoThreads.h"
#include "Comm/TcpServer.h"
#include "Comm/UdpSocket.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Show/HostShow.h"
#include "Traffic/Traffic.h"

#include <QJsonObject>

#include <array>
#include <utility>

namespace {

constexpr std::array kChannels = {TrafficChannel::AppControl, TrafficChannel::AppBulk};
constexpr std::array kChannelPorts = {AppServer::kControlPort, AppServer::kBulkPort};

/// The connection whose request this thread is handling, and its channel; null outside a request.
thread_local const CEnvelopeConnection::Ptr* t_requester = nullptr;
thread_local int t_requesterChannel = 0;

/// Sets the current requester of this thread for its lifetime.
class CRequestScope {
public:
    CRequestScope(const CEnvelopeConnection::Ptr& connection, int channel)
    {
        t_requester = &connection;
        t_requesterChannel = channel;
    }
    ~CRequestScope() { t_requester = nullptr; }
    CRequestScope(const CRequestScope&) = delete;
    CRequestScope& operator=(const CRequestScope&) = delete;
};

/// The module handles logins; the channel recognises a successful login by its reply.
bool IsLoginSuccess(const std::string& envelope)
{
    if (envelope.size() < Envelope::kCodeHeaderBytes ||
        Envelope::ReadNumber(envelope.data() + Envelope::kMarkBytes) != Command::ReplyTo(Command::Login))
        return false;
    const auto body = QByteArray::fromStdString(envelope.substr(Envelope::kCodeHeaderBytes));
    return ReadJson(body).object().value(QLatin1String("result")) == QJsonValue(LoginResult::Success);
}

struct SCallbacks {
    CAPPServerManager::PackageCallback tcp;
    CAPPServerManager::PackageCallback udp;
    CAPPServerManager::UploadEndCallback uploadEnd;
    CAPPServerManager::ConnectedCallback connected;
};

/// All channels between one start and the next stop.
class CService {
public:
    CService(const SCallbacks& callbacks, const SAppServerConfig& config)
        : m_callbacks(callbacks)
        , m_servers{CTcpServer(m_threads, OptionsOf(AppServer::Control, config), CallbacksOf(AppServer::Control)),
                    CTcpServer(m_threads, OptionsOf(AppServer::Bulk, config), CallbacksOf(AppServer::Bulk))}
        , m_discovery(m_threads, TrafficChannel::AppDiscovery,
                      [this](std::string datagram, const std::string& ip, std::uint16_t port) {
                          const CTrafficRequest request([&] { return m_discovery.RecordOf(datagram, 0, ip, port); });
                          if (!m_discovery.TakesOver(request, ip, port))
                              Deliver(m_callbacks.udp, {std::move(datagram), 0, ip, port, AppServer::kDiscoveryPort});
                      })
        , m_config(config)
    {}

    void Start()
    {
        for (CTcpServer& server : m_servers)
            server.Start();
        m_discovery.Start(m_config.listenAddress, AppServer::kDiscoveryPort);
        {
            const std::lock_guard lock(m_ftpMutex);
            m_ftp = std::make_unique<CFtpUploadServer>(
                FtpOptionsOf(m_config), m_callbacks.uploadEnd,
                [this](bool listening, const std::string& reason) { PublishUploadState(listening, reason); });
        }
        m_ftp->Start(); // publishes its state meanwhile, so not under the lock
        m_threads.Start();
    }

    /// Closes all connections with a notification each. When it returns no callback runs any more. Must not be called
    /// from a callback.
    void Stop()
    {
        for (CTcpServer& server : m_servers)
            server.Close();
        std::unique_ptr<CFtpUploadServer> ftp;
        {
            const std::lock_guard lock(m_ftpMutex);
            ftp = std::move(m_ftp);
        }
        ftp.reset();
        for (CTcpServer& server : m_servers)
            server.WaitForEnd();
        m_threads.Stop();
    }

    void Send(const std::shared_ptr<Comm::RequestPackage>& package, int channel, const std::string& ip,
              std::uint16_t port)
    {
        if (channel != AppServer::Control && channel != AppServer::Bulk)
            return;
        if (!ip.empty() || port != AppServer::kConnectedApp)
            SendTo(ServerOf(channel).Find(ip, port), channel, package);
        else if (t_requester)
            SendTo(channel == t_requesterChannel ? *t_requester : m_peers.PartnerOf(t_requester->get()), channel,
                   package);
        else {
            for (const CEnvelopeConnection::Ptr& connection : ServerOf(channel).Connections())
                SendTo(connection, channel, package);
        }
    }

    void SendDatagram(const std::string& datagram, const std::string& ip, std::uint16_t port)
    {
        m_discovery.Send(datagram, ip, port);
    }

    void Disconnect(const std::string& ip, std::uint16_t port)
    {
        for (CTcpServer& server : m_servers) {
            const auto connection = server.Find(ip, port);
            if (!connection)
                continue;
            // An app needs both channels: disconnect it on the other one as well.
            if (const auto partner = m_peers.PartnerOf(connection.get()))
                partner->Close("disconnected by the host");
            connection->Close("disconnected by the host");
        }
    }

    void DisconnectUpload(const std::string& ip, std::uint16_t port)
    {
        const std::lock_guard lock(m_ftpMutex);
        if (m_ftp)
            m_ftp->Disconnect(AddressText(ip, port));
    }

    void SetUploadFolder(const QString& folder)
    {
        const std::lock_guard lock(m_ftpMutex);
        if (m_ftp)
            m_ftp->SetFolder(folder);
    }

private:
    static CTcpServer::SOptions OptionsOf(int channel, const SAppServerConfig& config)
    {
        const auto index = static_cast<std::size_t>(channel);
        return {kChannels[index], config.listenAddress, kChannelPorts[index], {}};
    }

    static CFtpUploadServer::SOptions FtpOptionsOf(const SAppServerConfig& config)
    {
        return {QString::fromStdString(config.listenAddress),
                AppServer::kFtpPort,
                AppServer::kFirstPassivePort,
                AppServer::kLastPassivePort,
                QString::fromStdString(config.ftpUser),
                QString::fromStdString(config.ftpPassword),
                QString::fromStdString(config.uploadFolder)};
    }

    void PublishUploadState(bool listening, const std::string& reason) const
    {
        const std::string address = AddressText(m_config.listenAddress, AppServer::kFtpPort);
        CTraffic::GetInstance().Publish({listening ? STrafficRecord::Kind::Listening : STrafficRecord::Kind::Failed,
                                         TrafficChannel::AppUpload,
                                         {},
                                         listening ? address : address + ": " + reason});
    }

    CTcpServer::SCallbacks CallbacksOf(int channel)
    {
        return {
            [this, channel](const CEnvelopeConnection::Ptr& connection) {
                m_peers.Add(static_cast<std::size_t>(channel), connection);
                if (m_callbacks.connected)
                    m_callbacks.connected(connection->RemoteIp(), connection->RemotePort());
            },
            [this, channel](const CEnvelopeConnection::Ptr& connection, std::string frame) {
                const CTrafficRequest request([&] {
                    return EnvelopeTraffic::RecordOf(kChannels[static_cast<std::size_t>(channel)], *connection, frame);
                });
                if (EnvelopeTraffic::TakesOver(request, kChannels[static_cast<std::size_t>(channel)], *connection))
                    return;
                const CRequestScope requestScope(connection, channel);
                Deliver(m_callbacks.tcp, {std::move(frame), 0, connection->RemoteIp(), connection->RemotePort(),
                                          kChannelPorts[static_cast<std::size_t>(channel)]});
            },
            [this, channel](const CEnvelopeConnection::Ptr& connection) {
                m_peers.Remove(connection);
                Deliver(m_callbacks.tcp, {{},
                                          1,
                                          connection->RemoteIp(),
                                          connection->RemotePort(),
                                          kChannelPorts[static_cast<std::size_t>(channel)]});
            },
        };
    }

    static void Deliver(const CAPPServerManager::PackageCallback& callback, Comm::ResponsePackage package)
    {
        const CShowReading reading;
        if (callback)
            callback(std::make_shared<Comm::ResponsePackage>(std::move(package)));
    }

    void SendTo(const CEnvelopeConnection::Ptr& connection, int channel,
                const std::shared_ptr<Comm::RequestPackage>& package)
    {
        if (!connection || !EnvelopeTraffic::Send(kChannels[static_cast<std::size_t>(channel)], *connection, package))
            return;
        if (IsLoginSuccess(package->data))
            m_peers.LogIn(connection);
    }

    CTcpServer& ServerOf(int channel) { return m_servers[static_cast<std::size_t>(channel)]; }

    const SCallbacks m_callbacks;
    CIoThreads m_threads; ///< must be destroyed after the members that use it
    CAppPeers m_peers;
    std::array<CTcpServer, 2> m_servers;
    CUdpSocket m_discovery;
    const SAppServerConfig m_config;
    std::mutex m_ftpMutex;
    std::unique_ptr<CFtpUploadServer> m_ftp;
};

std::mutex s_runningMutex;
std::weak_ptr<CService> s_running;

/// The running service of this process, or null.
std::shared_ptr<CService> RunningService()
{
    const std::lock_guard lock(s_runningMutex);
    return s_running.lock();
}

} // namespace

void AppServer::Disconnect(const std::string& ip, std::uint16_t port)
{
    if (const auto service = RunningService()) {
        service->Disconnect(ip, port);
        service->DisconnectUpload(ip, port);
    }
}

void AppServer::SendToApps(std::uint32_t code)
{
    const auto service = RunningService();
    if (!service)
        return;
    const auto package = std::make_shared<Comm::RequestPackage>();
    package->data = CAppDataPack(code, {}).GetData().toStdString();
    service->Send(package, AppServer::Control, {}, AppServer::kConnectedApp);
}

class CAPPServerManager::Impl {
public:
    void Start()
    {
        const std::lock_guard starting(m_startMutex);
        if (Service())
            return;
        const auto service = std::make_shared<CService>(callbacks, AppServer::Config().Get());
        {
            const std::lock_guard lock(m_mutex);
            m_service = service;
        }
        {
            const std::lock_guard lock(s_runningMutex);
            s_running = service;
        }
        service->Start();
    }

    void Stop()
    {
        const std::lock_guard starting(m_startMutex);
        std::shared_ptr<CService> service;
        {
            const std::lock_guard lock(m_mutex);
            service = std::exchange(m_service, nullptr);
        }
        // Callbacks may hold a reference for a moment longer: the service must be stopped before its last release.
        if (service)
            service->Stop();
    }

    std::shared_ptr<CService> Service() const
    {
        const std::lock_guard lock(m_mutex);
        return m_service;
    }

    SCallbacks callbacks;

private:
    std::mutex m_startMutex;
    mutable std::mutex m_mutex;
    std::shared_ptr<CService> m_service;
};

CConfigBox<SAppServerConfig>& AppServer::Config()
{
    static CConfigBox<SAppServerConfig> config;
    return config;
}

CAPPServerManager::CAPPServerManager() : m_impl(std::make_unique<Impl>()) {}

CAPPServerManager::~CAPPServerManager()
{
    m_impl->Stop();
}

void CAPPServerManager::SendUdpData(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    if (const auto service = m_impl->Service())
        service->SendDatagram(datagram, remoteIp, remotePort);
}

void CAPPServerManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package, int channel, const std::string& ip,
                                    unsigned short port)
{
    if (const auto service = m_impl->Service())
        service->Send(package, channel, ip, port);
}

void CAPPServerManager::SetCallBackFunc(PackageCallback tcp, PackageCallback udp, UploadEndCallback uploadEnd)
{
    m_impl->callbacks.tcp = std::move(tcp);
    m_impl->callbacks.udp = std::move(udp);
    m_impl->callbacks.uploadEnd = std::move(uploadEnd);
}

void CAPPServerManager::SetConnectedFuc(ConnectedCallback connected)
{
    m_impl->callbacks.connected = std::move(connected);
}

void CAPPServerManager::InitServer()
{
    m_impl->Start();
}

void CAPPServerManager::UninitServer()
{
    m_impl->Stop();
}

void CAPPServerManager::Stop()
{
    m_impl->Stop();
}

void CAPPServerManager::DisConnect(std::string ip, unsigned short port)
{
    if (const auto service = m_impl->Service())
        service->Disconnect(ip, port);
}

void CAPPServerManager::ModifyAppResSavePath(const QString& path)
{
    if (path.isEmpty())
        return;
    SAppServerConfig config = AppServer::Config().Get();
    config.uploadFolder = path.toStdString();
    AppServer::Config().Set(std::move(config));
    if (const auto service = m_impl->Service())
        service->SetUploadFolder(path);
}
