#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <map>
#include <memory>

namespace Comm {
class COMChannel;
class UDPClientChannel;
} // namespace Comm

/// Sends commands to external control devices. It answers no remote request.
///
/// A device has a channel of its own from its creation to its deletion. Its record is asked of the device model at each
/// call. Nobody is told of what fails. The channels are not locked: the controller's thread alone may call this.
class CExControlDevMsgSender : public CMsgSenderBase {
public:
    /// Opens a channel for each device of the device model's file.
    CExControlDevMsgSender();

    bool HandleMsg(SOperation request) override;
    void CreateExControlDev(const QUuid& devId) override;
    void UpdateExControlDev(const QUuid& devId) override;
    /// While the device is still in the model, with the type that it was created with: that says which channel to
    /// close.
    void DelExControlDev(const QUuid& devId) override;
    void SendExControlCmd(const QUuid& devId, const QUuid& cmdId) override;

private:
    // A device that was deleted leaves an empty pointer.
    std::map<QUuid, std::shared_ptr<Comm::UDPClientChannel>> m_udpChannels;
    std::map<QUuid, std::shared_ptr<Comm::COMChannel>> m_comChannels;
};
