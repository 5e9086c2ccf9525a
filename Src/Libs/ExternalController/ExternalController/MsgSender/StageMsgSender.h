#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

class IStageMsgSender {
public:
    virtual ~IStageMsgSender() = default;
};

/// Answers requests about what the stage shows. It reads the host and never changes it.
class CStageMsgSender : public CMsgSenderBase, public IStageMsgSender {
public:
    CStageMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                    ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;

private:
    void EchoToEverySource(const SOperation& request);
};
