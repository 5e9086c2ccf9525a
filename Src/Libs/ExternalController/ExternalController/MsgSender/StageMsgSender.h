#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <vector>

class IStageMsgSender {
public:
    virtual ~IStageMsgSender() = default;
};

/// Answers requests about the stage. It reads the host's models but never changes them.
class CStageMsgSender : public CMsgSenderBase, public IStageMsgSender {
public:
    CStageMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                    ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;

private:
    using Handlers = std::vector<SHandler<CStageMsgSender>>;
    static const Handlers s_handlers;

    // what is playing
    void SendStageSnapshot(const SOperation& request);
    void SendPlayStateText(const SOperation& request);
    void SendPlayStateNumber(const SOperation& request);
    void SendVolume(const SOperation& request);
    void SendMuteState(const SOperation& request);
    void SendBlackScreenState(const SOperation& request);
    void SendPictureAdjustment(const SOperation& request);
    void SendHdrState(const SOperation& request);

    // projects, screens and modes
    void SendProjectList(const SOperation& request);
    void SendScreenList(const SOperation& request);
    void SendAppControlMode(const SOperation& request);
    void SendStagePreviewMode(const SOperation& request);

    // media and pictures
    void SendMediaList(const SOperation& request);
    void SendMediaData(const SOperation& request);
    void SendMediaThumbnail(const SOperation& request);
    void SendPreviewPath(const SOperation& request);
    void PushStagePreview(const SOperation& request);

    void EchoToFPIfAsked(const SOperation& request);
    void EchoToAskers(const SOperation& request);
    void IgnoreRequest(const SOperation& request);
};
