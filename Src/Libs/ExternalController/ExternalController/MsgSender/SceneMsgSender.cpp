#include "ExternalController/MsgSender/SceneMsgSender.h"

CSceneMsgSender::CSceneMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                 CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::Scene);
}

bool CSceneMsgSender::HandleMsg(SOperation request)
{
    if (!EchoToAppOrFP(request) && (request.nSourceFlags & Source::CentralControl))
        RelayToCentralControl(request, request.jsonBody["errorMsg"].toString().toUtf8());
    return true;
}
