#include "ExternalController/MsgSender/MsgSenderBase.h"

#include "ExternalController/Common/AppPackage.h"
#include "Interfaces/CentralControl.h"
#include "Interfaces/FPClient.h"

#include <QJsonDocument>
#include <QObject>

#include <string>

namespace {

QByteArray Serialise(const QJsonObject& json)
{
    return QJsonDocument(json).toJson();
}

struct Endpoint {
    std::string ip;
    unsigned short port;
};

Endpoint RemoteOf(const SOperation& request)
{
    return {request.jsonBody["remoteIp"].toString().toStdString(),
            static_cast<unsigned short>(request.jsonBody["remotePort"].toInt())};
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
        m_pAppServer->SendPackage(MakeAppPackage(cmdCode, json), transport, {}, AppServer::kConnectedApp);
}

void CMsgSenderBase::SendToFP(unsigned int cmdCode, QByteArray json)
{
    if (m_pFPClient)
        m_pFPClient->SendPackage(MakeAppPackage(cmdCode, json));
}

void CMsgSenderBase::SendToCentralControl(const std::string& json, const std::string& remoteIp,
                                          const unsigned short& remotePort)
{
    if (m_pCentralControl)
        m_pCentralControl->SendData(json, remoteIp, remotePort);
}

void CMsgSenderBase::ReplyToApp(int cmdCode, const QJsonObject& reply)
{
    SendToApp(Command::ReplyTo(cmdCode), Serialise(reply));
}

void CMsgSenderBase::ReplyToFP(int cmdCode, const QJsonObject& reply)
{
    SendToFP(static_cast<unsigned int>(cmdCode), Serialise(reply));
}

void CMsgSenderBase::ReplyToCentralControl(const SOperation& request, const QJsonObject& reply)
{
    const Endpoint to = RemoteOf(request);
    SendToCentralControl(Serialise(reply).toStdString(), to.ip, to.port);
}

void CMsgSenderBase::RelayToCentralControl(const SOperation& request, const QByteArray& text)
{
    const Endpoint to = RemoteOf(request);
    if (!to.ip.empty())
        SendToCentralControl(text.toStdString(), to.ip, to.port);
}

void CMsgSenderBase::EchoToAppAndFP(const SOperation& request)
{
    if (request.nSourceFlags & Source::App)
        ReplyToApp(request.nCmdCode, request.jsonBody);
    if (request.nSourceFlags & Source::FP)
        ReplyToFP(request.nCmdCode, request.jsonBody);
}

bool CMsgSenderBase::EchoToAppOrFP(const SOperation& request)
{
    if (request.nSourceFlags & Source::App)
        ReplyToApp(request.nCmdCode, request.jsonBody);
    else if (request.nSourceFlags & Source::FP)
        ReplyToFP(request.nCmdCode, request.jsonBody);
    else
        return false;
    return true;
}

QString TrCloudControl()
{
    return QObject::tr("CloudControl");
}
