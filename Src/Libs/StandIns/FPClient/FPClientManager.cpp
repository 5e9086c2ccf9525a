#include "Interfaces/FPClient.h"

#include "Comm/EnvelopeTraffic.h"
#include "Comm/IoThreads.h"
#include "Comm/TcpClient.h"
#include "FPClient/FPClientConfig.h"
#include "HostModels/Show/HostShow.h"
#include "Traffic/Traffic.h"

#include <mutex>
#include <utility>

class CFPClientManager::Impl {
public:
    Impl() : m_client(m_threads, OptionsOf(FPClient::Config().Get()), CallbacksOf()) {}

    ~Impl()
    {
        m_client.Stop();
        m_threads.Stop();
    }

    void Start()
    {
        std::call_once(m_started, [this] {
            m_client.Start();
            m_threads.Start();
        });
    }

    void Send(const std::shared_ptr<Comm::RequestPackage>& package)
    {
        const CEnvelopeConnection::Ptr connection = m_client.Connection();
        if (!connection || !EnvelopeTraffic::Send(TrafficChannel::FP, *connection, package))
            CTraffic::GetInstance().Publish({STrafficRecord::Kind::Note,
                                             TrafficChannel::FP,
                                             {},
                                             "not connected, dropped: " + EnvelopeTraffic::TextOf(package->data)});
    }

    PackageCallback callback;

private:
    static CTcpClient::SOptions OptionsOf(const SFPClientConfig& config)
    {
        return {TrafficChannel::FP, config.host, config.port, config.timeouts, {}};
    }

    CTcpClient::SCallbacks CallbacksOf()
    {
        return {
            [this](const CEnvelopeConnection::Ptr& connection, std::string frame) {
                const CTrafficRequest request(
                    [&] { return EnvelopeTraffic::RecordOf(TrafficChannel::FP, *connection, frame); });
                if (EnvelopeTraffic::TakesOver(request, TrafficChannel::FP, *connection))
                    return;
                Deliver({std::move(frame), 0, connection->RemoteIp(), connection->RemotePort(), 0});
            },
            [this](const CEnvelopeConnection::Ptr& connection) {
                Comm::ResponsePackage notice;
                notice.closed = 1;
                notice.remoteIp = connection->RemoteIp();
                notice.remotePort = connection->RemotePort();
                Deliver(std::move(notice));
            },
        };
    }

    void Deliver(Comm::ResponsePackage package) const
    {
        const CShowReading reading;
        if (callback)
            callback(std::make_shared<Comm::ResponsePackage>(std::move(package)));
    }

    CIoThreads m_threads; ///< must be destroyed after the members that use it
    CTcpClient m_client;
    std::once_flag m_started;
};

CConfigBox<SFPClientConfig>& FPClient::Config()
{
    static CConfigBox<SFPClientConfig> config;
    return config;
}

CFPClientManager::CFPClientManager() : m_impl(std::make_unique<Impl>()) {}

CFPClientManager::~CFPClientManager() = default;

void CFPClientManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package)
{
    m_impl->Send(package);
}

void CFPClientManager::SetCallBackFunc(PackageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CFPClientManager::InitServer()
{
    m_impl->Start();
}
