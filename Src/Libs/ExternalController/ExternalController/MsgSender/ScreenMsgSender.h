#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

class IScreenMsgSender {
public:
    virtual ~IScreenMsgSender() = default;
};

/// Holds the screens' place in the sender table, under a key that no command code selects: their state is answered by
/// the project-data sender, their list by the stage sender.
class CScreenMsgSender : public CMsgSenderBase, public IScreenMsgSender {
public:
    CScreenMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                     CCentralControllerManager* centralControl, ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
};
