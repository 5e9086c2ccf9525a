#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

class IResourceMsgSender {
public:
    virtual ~IResourceMsgSender() = default;
};

/// Answers requests about the show's media resources, and relays their events to the app.
class CResourceMsgSender : public CMsgSenderBase, public IResourceMsgSender {
public:
    CResourceMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                       CCentralControllerManager* centralControl, ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
};
