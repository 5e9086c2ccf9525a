#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <mutex>
#include <vector>

class IResourceMsgSender {
public:
    virtual ~IResourceMsgSender() = default;
};

/// Answers requests about the show's media resources, and sends notices about them to the app.
class CResourceMsgSender : public CMsgSenderBase, public IResourceMsgSender {
public:
    CResourceMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                       CCentralControllerManager* centralControl, ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;
    void ModifyAppSharedPath(const QString& path) override;

private:
    using Handlers = std::vector<SHandler<CResourceMsgSender>>;
    static const Handlers s_handlers;

    void SendResourceList(const SOperation& request);
    void SendResourceItem(const SOperation& request);
    void SendResourceThumbnail(const SOperation& request);
    void SendTextResource(const SOperation& request);
    void SendFontList(const SOperation& request);
    void SendSupportedFileTypes(const SOperation& request);
    void SendSharedTypeThumbnails(const SOperation& request);
    void SendSharedFolderList(const SOperation& request);
    void EchoToApp(const SOperation& request);
    void EchoToOneAsker(const SOperation& request);

    std::mutex m_sharedPathMutex; ///< guards m_sharedPath: the host's thread writes it, the channels' threads read it
    QString m_sharedPath;
};
