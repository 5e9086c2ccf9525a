#include "ExternalController/MsgSender/StageMsgSender.h"

#include <QJsonDocument>

CStageMsgSender::CStageMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                 CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::Stage);
}

bool CStageMsgSender::HandleMsg(SOperation request)
{
    EchoToEverySource(request);
    return true;
}

/// Central control gets what the host put in for it: its answer, or else an error text.
void CStageMsgSender::EchoToEverySource(const SOperation& request)
{
    EchoToAppAndFP(request);
    if (!(request.nSourceFlags & Source::CentralControl))
        return;
    if (request.jsonBody.contains("respon"))
        RelayToCentralControl(request, QJsonDocument(request.jsonBody["respon"].toObject()).toJson());
    else
        RelayToCentralControl(request, request.jsonBody["errorMsg"].toString().toUtf8());
}
