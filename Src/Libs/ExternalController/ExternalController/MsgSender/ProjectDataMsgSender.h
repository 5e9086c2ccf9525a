#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <vector>

class IProjectDataMsgSender {
public:
    virtual ~IProjectDataMsgSender() = default;
};

/// Answers requests about the host's name and version, sessions, logs and the data of the project.
class CProjectDataMsgSender : public CMsgSenderBase, public IProjectDataMsgSender {
public:
    CProjectDataMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                          CCentralControllerManager* centralControl, ICloudControlManager* cloudControl);

    bool HandleMsg(SOperation request) override;

private:
    using Handlers = std::vector<SHandler<CProjectDataMsgSender>>;
    static const Handlers s_handlers;

    void SetHostName(const SOperation& request);
    void SendHostNameAndVersion(const SOperation& request);
    void SendLoginIdentity(const SOperation& request);
    void CheckAppId(const SOperation& request);
    void SendFPPairingCode(const SOperation& request);
    void SendAppConnectState(const SOperation& request);
    void SendProjectName(const SOperation& request);
    void SendScreenState(const SOperation& request);
    void SendSystemInformation(const SOperation& request);
    void SendLogs(const SOperation& request);
    void ExportProjectData(const SOperation& request);
};
