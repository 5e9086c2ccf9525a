#include "ExternalController/MsgSender/ScreenMsgSender.h"

CScreenMsgSender::CScreenMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                   CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{}

bool CScreenMsgSender::HandleMsg(SOperation)
{
    return true;
}
