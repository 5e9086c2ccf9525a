#include "Interfaces/FPClient.h"

#include "Comm/EnvelopeTraffic.h"
#include "Comm/IoThreads.h"
#include "Comm/TcpClient.h"
#include "FPClient/FPClientConfig.h"
#include "HostModels/Show/HostShow.h"
#include "Traffic/Traffic.h"

#include <asio/post.hpp>

#include <mutex>
#include <utility>

namespace {

class CFPLink;

std::mutex s_linkMutex;
CFPLink* s_link = nullptr; ///< the last one that was created

class CFPLink {
public:
    CFPLink() : m_client(m_threads, OptionsOf(FPClient::Config().Get()), CallbacksOf())
    {
        const std::lock_guard lock(s_linkMutex);
        s_link = this;
    }

    ~CFPLink()
    {
        {
            const std::lock_guard lock(s_linkMutex);
            if (s_link == this)
                s_link = nullptr;
        }
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

    bool Receive(std::string envelope, const std::string& note)
    {
        const CEnvelopeConnection::Ptr connection = m_client.Connection();
        if (!connection)
            return false;
        asio::post(m_threads.Context(), [this, connection, note, frame = std::move(envelope)]() mutable {
            const CIoThreads::CCallbackScope callbackScope(m_threads);
            Handle(connection, std::move(frame), note);
        });
        return true;
    }

    void Disconnect()
    {
        if (const CEnvelopeConnection::Ptr connection = m_client.Connection())
            connection->Close("disconnected by the host");
    }

    CFPClientManager::PackageCallback callback;

private:
    static CTcpClient::SOptions OptionsOf(const SFPClientConfig& config)
    {
        return {TrafficChannel::FP, config.host, config.port, config.timeouts, {}};
    }

    CTcpClient::SCallbacks CallbacksOf()
    {
        return {
            [this](const CEnvelopeConnection::Ptr& connection, std::string frame) {
                Handle(connection, std::move(frame), {});
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

    void Handle(const CEnvelopeConnection::Ptr& connection, std::string frame, const std::string& note)
    {
        const CTrafficRequest request([&] {
            STrafficRecord record = EnvelopeTraffic::RecordOf(TrafficChannel::FP, *connection, frame);
            record.text = note;
            return record;
        });
        if (EnvelopeTraffic::TakesOver(request, TrafficChannel::FP, *connection))
            return;
        Deliver({std::move(frame), 0, connection->RemoteIp(), connection->RemotePort(), 0});
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

} // namespace

class CFPClientManager::Impl : public CFPLink {};

bool FPClient::Receive(std::string envelope, const std::string& note)
{
    const std::lock_guard lock(s_linkMutex);
    return s_link && s_link->Receive(std::move(envelope), note);
}

void FPClient::Disconnect()
{
    const std::lock_guard lock(s_linkMutex);
    if (s_link)
        s_link->Disconnect();
}

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
