#include "ExternalController/MsgSender/ExControlDevMsgSender.h"

CExControlDevMsgSender::CExControlDevMsgSender() : CMsgSenderBase(nullptr, nullptr, nullptr, nullptr)
{
    SetSenderType(SenderType::ExControlDev);
}

bool CExControlDevMsgSender::HandleMsg(SOperation)
{
    return true;
}
