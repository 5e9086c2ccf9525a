#include "ExternalController/MsgSender/ResourceMsgSender.h"

CResourceMsgSender::CResourceMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                       CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::Resource);
}

bool CResourceMsgSender::HandleMsg(SOperation request)
{
    EchoToAppOrFP(request);
    return true;
}
