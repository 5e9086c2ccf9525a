#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Adapters.h"
#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/Discovery.h"
#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/Common/Routes.h"
#include "Interfaces/AppServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr char kControllerId[] = "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4";
constexpr double kDiscoveryVersion = 2.0;

/// The size of ten records. On a machine with more adapters, none is listed: apps identify this host by its name only.
constexpr ULONG kAdapterBufferBytes = 7040;

struct SAdapterMacs {
    QJsonArray all;
    QString ofAddress; ///< the MAC of the last adapter with the local address
};

SAdapterMacs ReadAdapterMacs(const QString& localAddress)
{
    SAdapterMacs macs;
    const CAdapters adapters(kAdapterBufferBytes);
    for (const IP_ADAPTER_INFO* adapter = adapters.First(); adapter; adapter = adapter->Next) {
        const QString mac = MacText(*adapter, adapter->AddressLength);
        macs.all.append(mac);
        if (localAddress == QLatin1String(adapter->IpAddressList.IpAddress.String))
            macs.ofAddress = mac;
    }
    return macs;
}

} // namespace

void CExternalController::RecvAPPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet)
        return;
    if (packet->closed) {
        OnAppConnectionClosed(packet->remoteIp);
        return;
    }
    if (!m_appServer)
        return;

    const SOperation request = ReadAppRequest(*packet, Source::App);
    switch (request.nCmdCode) {
    case Command::Heartbeat:
        AnswerHeartBeat(packet->localPort);
        break;
    case Command::Login:
        DebugLog() << "request_login:" << packet->remoteIp.c_str() << ":" << packet->remotePort;
        LogInApp(request, packet->remoteIp, packet->remotePort);
        break;
    case Command::PublicKey:
        ResponPublickey(packet->remoteIp, packet->remotePort);
        break;
    case Command::ShutDown:
        DebugLog() << "Recv ShutDown msg";
        emit signalCloseSoftWare(true);
        break;
    default:
        if (AnswererOf(request.nCmdCode, Source::App) == Answerer::Sender)
            Write(request);
        else
            ReportToHost(request, !request.jsonBody.isEmpty());
    }
}

void CExternalController::AnswerHeartBeat(std::uint16_t localPort)
{
    m_heartBeatCount = 1;

    const QByteArray reply = QJsonDocument(QJsonObject{{"result", 1}}).toJson();
    const auto answerOn = [&](AppServer::Channel channel) {
        m_appServer->SendPackage(MakeAppPackage(Command::ReplyTo(Command::Heartbeat), reply), channel, {},
                                 AppServer::kConnectedApp);
    };
    if (localPort == AppServer::kControlPort)
        answerOn(AppServer::Control);
    else if (localPort == AppServer::kBulkPort)
        answerOn(AppServer::Bulk);
}

void CExternalController::RecvAPPUdpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!m_appServer || !packet || packet->payload != kDiscoveryRequest)
        return;

    const SAdapterMacs macs = ReadAdapterMacs(GetLocalIPv4());
    const QJsonObject reply = {
        {"name", GetHostName()},      {"id", kControllerId},          {"macAddress", macs.ofAddress},
        {"macAddressList", macs.all}, {"version", kDiscoveryVersion},
    };
    m_appServer->SendUdpData(QJsonDocument(reply).toJson().toStdString(), packet->remoteIp, packet->remotePort);
}

void CExternalController::RecvAPPFtpUploadEndMsg(std::string resourcePath)
{
    if (resourcePath.empty())
        return;
    const QJsonObject body = {{"resourcePath", QString::fromStdString(resourcePath)}};
    ReportToHost(MakeRequest(Command::ResourceItem, body, Source::App));
}
