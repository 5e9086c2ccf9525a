#include "Interfaces/CentralControl.h"

#include "CentralControl/CentralControlConfig.h"
#include "CentralControl/TextCommand.h"
#include "Comm/IoThreads.h"
#include "Comm/UdpSocket.h"
#include "HostModels/Show/HostShow.h"
#include "Traffic/Traffic.h"

#include <QJsonDocument>

#include <mutex>
#include <utility>

class CCentralControllerManager::Impl {
public:
    Impl()
        : m_socket(m_threads, TrafficChannel::CentralControl,
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

    void Send(const std::string& json, const std::string& ip, std::uint16_t port) { m_socket.Send(json, ip, port); }

    MessageCallback callback;

private:
    void OnDatagram(const std::string& datagram, const std::string& ip, std::uint16_t port)
    {
        STextCommand command = TextCommand::Read(datagram);
        const CTrafficRequest request([&] {
            const auto code = static_cast<std::uint32_t>(command.message.value(QLatin1String("cmdType")).toInt());
            return m_socket.RecordOf(datagram, code, ip, port);
        });
        if (m_socket.TakesOver(request, ip, port))
            return;
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
