#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

class ISceneMsgSender {
public:
    virtual ~ISceneMsgSender() = default;
};

/// Answers requests about scene groups and scenes, and relays scene changes to the app.
class CSceneMsgSender : public CMsgSenderBase, public ISceneMsgSender {
public:
    CSceneMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                    ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
};
