#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/CltLog.h"

#include <QJsonObject>
#include <QStringList>

#include <functional>
#include <thread>

namespace {

constexpr char kControllerId[] = "3F2C9D41-7B0E-4A65-9C13-D85E2F07A6B4";
constexpr double kDiscoveryVersion = 2.0;

/// The size of ten records. On a machine with more adapters, none is listed: apps identify this host by its name only.
constexpr ULONG kAdapterBufferBytes = 7040;

struct SAdapterMacs {
    QStringList all;
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

constexpr int kProjectLoaded = 1;
/// The kind of log events that concern the whole program.
constexpr int kGlobalLogKind = 4;

void LogRestart()
{
    const std::shared_ptr<CltLog::CLogger> logger = CltLog::GetOperationLogger();
    if (!logger || logger->GetLevel() > CltLog::Operation)
        return;
    const auto thread = static_cast<std::uint32_t>(std::hash<std::thread::id>()(std::this_thread::get_id()));
    CltLog::CLogEventWrap wrap(std::make_shared<CltLog::CLogEvent>(
        logger, CltLog::Operation, kGlobalLogKind, nullptr, __LINE__, thread, std::time(nullptr),
        QObject::tr("Log_Global").toStdString(), QObject::tr("Log_SoftwareRestart").toStdString()));
    wrap.GetEvent().Format("%s", "");
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

    const auto answerOn = [this](AppServer::Channel channel) {
        const CReply reply = {{"result", 1}};
        m_appServer->SendPackage(MakeAppPackage(Command::ReplyTo(Command::Heartbeat), reply.Text()), channel, {},
                                 AppServer::kConnectedApp);
    };
    if (localPort == AppServer::kControlPort)
        answerOn(AppServer::Control);
    else if (localPort == AppServer::kBulkPort)
        answerOn(AppServer::Bulk);
}

void CExternalController::RecvAPPUdpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet || packet->payload != kDiscoveryRequest)
        return;

    const SAdapterMacs macs = ReadAdapterMacs(GetLocalIPv4());
    const CReply reply = {
        {"name", GetHostName()},      {"id", kControllerId},          {"macAddress", macs.ofAddress},
        {"macAddressList", macs.all}, {"version", kDiscoveryVersion},
    };
    m_appServer->SendUdpData(reply.Text().toStdString(), packet->remoteIp, packet->remotePort);
}

void CExternalController::RecvAPPFtpUploadEndMsg(std::string resourcePath)
{
    if (resourcePath.empty())
        return;
    const QJsonObject body = {{"resourcePath", QString::fromStdString(resourcePath)}};
    ReportToHost(MakeRequest(Command::ResourceItem, body, Source::App));
}

void CExternalController::RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet)
{
    if (!packet || packet->closed)
        return;

    const SOperation request = ReadAppRequest(*packet, Source::FP);
    if (AnswererOf(request.nCmdCode, Source::FP) == Answerer::SenderAndHost)
        Write(request);
    // The host receives every packet of this channel, also those that a sender answers.
    ReportToHost(request, !request.jsonBody.isEmpty());
}

void CExternalController::RecvContralControllerUdpMsg(QJsonObject& message)
{
    if (message.isEmpty())
        return;

    const int code = message.value(QLatin1String("cmdType")).toInt();
    const SOperation request = MakeRequest(code, message, Source::CentralControl);
    if (code == Command::ShutDown) {
        DebugLog() << "Recv ShutDown msg";
        emit signalCloseSoftWare(true);
        return;
    }
    if (AnswererOf(code, Source::CentralControl) == Answerer::Sender) {
        Write(request);
        return;
    }
    if (code == Command::CloseSoftware)
        emit signalCloseSoftWare(false);
    ReportToHost(request);
}

void CExternalController::RecvCloudControlMsg(QJsonObject& message)
{
    if (message.isEmpty())
        return;
    const int code = message.value(QLatin1String("cmdType")).toInt();
    const SOperation request = MakeRequest(code, message, Source::CloudControl);
    switch (code) {
    case Command::Restart:
        LogRestart();
        emit signalRestartSoftware();
        break;
    case Command::Refresh:
        Write(MakeRequest(Command::SystemInformation, message, Source::CloudControl));
        Write(MakeRequest(Command::StagePreviewPush, message, Source::CloudControl));
        break;
    case Command::SwitchProject:
    case Command::ScenePlay:
        // Ignored while a project is loading: its scenes can't be played yet.
        if (m_prjLoadState == kProjectLoaded)
            ReportToHost(request);
        break;
    default:
        if (AnswererOf(code, Source::CloudControl) == Answerer::Sender)
            Write(request);
        else
            ReportToHost(request);
    }
}
