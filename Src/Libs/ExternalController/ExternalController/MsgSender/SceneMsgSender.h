#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <vector>

class ISceneMsgSender {
public:
    virtual ~ISceneMsgSender() = default;
};

/// Answers requests about scene groups and scenes, and notifies the app of scene changes.
class CSceneMsgSender : public CMsgSenderBase, public ISceneMsgSender {
public:
    CSceneMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient, CCentralControllerManager* centralControl,
                    ICloudControlManager* cloudControl);

    /// Returns false for a thumbnail request without valid ids, otherwise true.
    bool HandleMsg(SOperation request) override;

private:
    using Handlers = std::vector<SHandler<CSceneMsgSender>>;
    static const Handlers s_handlers;

    void SendSceneManagerData(const SOperation& request);
    void SendMainSceneGroup(const SOperation& request);
    void SendPlayingChapter(const SOperation& request);
    bool SendSceneThumbnail(const SOperation& request);
    void EchoToOneAsker(const SOperation& request);
};
