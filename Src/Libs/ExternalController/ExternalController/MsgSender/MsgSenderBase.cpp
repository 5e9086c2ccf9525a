#include "ExternalController/MsgSender/MsgSenderBase.h"

#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/Command.h"
#include "Interfaces/CentralControl.h"
#include "Interfaces/FPClient.h"
#include "Interfaces/ZXComm.h"

#include <QObject>

#include <string>
#include <utility>

namespace {

struct Endpoint {
    std::string ip;
    unsigned short port;
};

Endpoint RemoteOf(const SOperation& request)
{
    return {request.jsonBody[QLatin1String("remoteIp")].toString().toStdString(),
            static_cast<unsigned short>(request.jsonBody[QLatin1String("remotePort")].toInt())};
}

} // namespace

CMsgSenderBase::CMsgSenderBase(CAPPServerManager* appServer, IFPClientManager* fpClient,
                               CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : m_pAppServer(appServer), m_pFPClient(fpClient), m_pCentralControl(centralControl), m_pCloudControl(cloudControl)
{}

bool CMsgSenderBase::HandleMsg(SOperation)
{
    return false;
}

void CMsgSenderBase::HandleMsgEx(SOperation) {}

void CMsgSenderBase::SetSenderType(int type)
{
    m_nSenderType = type;
}

int CMsgSenderBase::GetSenderType()
{
    return m_nSenderType;
}

void CMsgSenderBase::SendToApp(unsigned int cmdCode, QByteArray json, int transport)
{
    if (m_pAppServer)
        m_pAppServer->SendPackage(MakeAppPackage(cmdCode, std::move(json)), transport, {}, AppServer::kConnectedApp);
}

void CMsgSenderBase::SendToFP(unsigned int cmdCode, QByteArray json)
{
    if (m_pFPClient)
        m_pFPClient->SendPackage(MakeAppPackage(cmdCode, std::move(json)));
}

void CMsgSenderBase::SendToCentralControl(const std::string& json, const std::string& remoteIp,
                                          const unsigned short& remotePort)
{
    if (m_pCentralControl)
        m_pCentralControl->SendData(json, remoteIp, remotePort);
}

void CMsgSenderBase::SendToCloud(const std::string& text, CloudControl::EROUTE_TYPE route)
{
    if (m_pCloudControl)
        m_pCloudControl->SendData(text, route);
}

void CMsgSenderBase::SendReplyToApp(int cmdCode, const CReply& reply)
{
    SendToApp(Command::ReplyTo(cmdCode), reply.Text());
}

void CMsgSenderBase::SendReplyToFP(int cmdCode, const CReply& reply)
{
    SendToFP(static_cast<unsigned int>(cmdCode), reply.Text());
}

void CMsgSenderBase::SendReplyToCentralControl(const SOperation& request, const CReply& reply)
{
    const Endpoint to = RemoteOf(request);
    SendToCentralControl(reply.Text().toStdString(), to.ip, to.port);
}

void CMsgSenderBase::SendPictureToApp(int cmdCode, const QUuid& id, const QByteArray& picture)
{
    QByteArray bytes = CAppDataPack(id, picture).GetData();
    SendToApp(Command::ReplyTo(cmdCode), std::move(bytes), AppServer::Bulk);
}

void CMsgSenderBase::ReplyToAppIfAsked(const SOperation& request, const CReply& reply)
{
    if (request.nSourceFlags & Source::App)
        SendReplyToApp(request.nCmdCode, reply);
}

void CMsgSenderBase::ReplyToFPIfAsked(const SOperation& request, const CReply& reply)
{
    if (request.nSourceFlags & Source::FP)
        SendReplyToFP(request.nCmdCode, reply);
}

void CMsgSenderBase::ReplyToCentralControlIfAsked(const SOperation& request, const CReply& reply)
{
    if (request.nSourceFlags & Source::CentralControl)
        SendReplyToCentralControl(request, reply);
}

void CMsgSenderBase::SendHostTextToCentralControl(const SOperation& request, const QByteArray& text)
{
    const Endpoint to = RemoteOf(request);
    if (!to.ip.empty())
        SendToCentralControl(text.toStdString(), to.ip, to.port);
}

void CMsgSenderBase::EchoToAppAndFPIfAsked(const SOperation& request)
{
    ReplyToAppIfAsked(request, request.jsonBody);
    ReplyToFPIfAsked(request, request.jsonBody);
}

bool CMsgSenderBase::EchoToAppOrFPIfAsked(const SOperation& request)
{
    if (request.nSourceFlags & Source::App)
        SendReplyToApp(request.nCmdCode, request.jsonBody);
    else if (request.nSourceFlags & Source::FP)
        SendReplyToFP(request.nCmdCode, request.jsonBody);
    else
        return false;
    return true;
}

QString TrCloudControl()
{
    return QObject::tr("CloudControl");
}
