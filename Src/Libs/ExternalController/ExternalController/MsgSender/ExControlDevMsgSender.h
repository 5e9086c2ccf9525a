#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

/// Sends commands to external control devices. It answers no remote request.
class CExControlDevMsgSender : public CMsgSenderBase {
public:
    CExControlDevMsgSender();

    bool HandleMsg(SOperation request) override;
};
