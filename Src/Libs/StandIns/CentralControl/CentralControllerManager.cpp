#include "Interfaces/CentralControl.h"

#include "CentralControl/CentralControlConfig.h"
#include "CentralControl/TextCommand.h"
#include "Comm/ChannelEvents.h"
#include "Comm/IoThreads.h"
#include "Comm/UdpSocket.h"
#include "HostModels/Show/HostShow.h"

#include <QJsonDocument>

#include <mutex>
#include <utility>

namespace {

constexpr char kChannelName[] = "central control";

void PublishTraffic(SChannelEvent::Kind kind, const std::string& ip, std::uint16_t port, const std::string& what,
                    std::size_t bytes)
{
    CChannelEvents::GetInstance().Publish(
        {kind, kChannelName, AddressText(ip, port), what + std::to_string(bytes) + " bytes"});
}

} // namespace

class CCentralControllerManager::Impl {
public:
    Impl()
        : m_socket(m_threads, kChannelName,
                   [this](const std::string& datagram, const std::string& ip, std::uint16_t port) {
                       OnDatagram(datagram, ip, port);
                   })
    {}

    ~Impl() { m_threads.Stop(); }

    void Start()
    {
        std::call_once(m_started, [this] {
            if (m_socket.Start(m_listenAddress, CentralControl::kPort))
                m_threads.Start();
        });
    }

    void Send(const std::string& json, const std::string& ip, std::uint16_t port)
    {
        if (CChannelEvents::GetInstance().WantsTraffic())
            PublishTraffic(SChannelEvent::Kind::Sent, ip, port, {}, json.size());
        m_socket.Send(json, ip, port);
    }

    MessageCallback callback;

private:
    void OnDatagram(const std::string& datagram, const std::string& ip, std::uint16_t port)
    {
        STextCommand command = TextCommand::Read(datagram);
        if (CChannelEvents::GetInstance().WantsTraffic())
            PublishTraffic(SChannelEvent::Kind::Received, ip, port, TextCommand::Describe(command), datagram.size());
        if (!command.refusal.isEmpty())
            Send(QJsonDocument(command.refusal).toJson().toStdString(), ip, port);
        if (command.message.isEmpty() || !callback)
            return;
        // Always use the sender's address: the content of a datagram may name another one.
        command.message.insert(QLatin1String("remoteIp"), QString::fromStdString(ip));
        command.message.insert(QLatin1String("remotePort"), int{port});
        const CShowReading reading;
        callback(command.message);
    }

    const std::string m_listenAddress = CentralControl::Config().Get().listenAddress;
    CIoThreads m_threads; ///< must be destroyed after the members that use it
    CUdpSocket m_socket;
    std::once_flag m_started;
};

CConfigBox<SCentralControlConfig>& CentralControl::Config()
{
    static CConfigBox<SCentralControlConfig> config;
    return config;
}

CCentralControllerManager::CCentralControllerManager() : m_impl(std::make_unique<Impl>()) {}

CCentralControllerManager::~CCentralControllerManager() = default;

void CCentralControllerManager::SetCallBackFunc(MessageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CCentralControllerManager::InitServer()
{
    m_impl->Start();
}

void CCentralControllerManager::SendData(const std::string& json, const std::string& remoteIp,
                                         unsigned short remotePort)
{
    m_impl->Send(json, remoteIp, remotePort);
}
