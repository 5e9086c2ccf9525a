#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <map>
#include <memory>

namespace Comm {
class COMChannel;
class UDPClientChannel;
} // namespace Comm

/// Sends commands to external control devices. It doesn't answer requests of remotes.
///
/// Each device has its own channel from CreateExControlDev to DelExControlDev. Every call reads the device's record
/// from the device model again. Errors are not reported. The channels are not locked: call the functions on the
/// controller's thread only.
class CExControlDevMsgSender : public CMsgSenderBase {
public:
    /// Opens a channel for each device in the file of the device model.
    CExControlDevMsgSender();

    bool HandleMsg(SOperation request) override;
    void CreateExControlDev(const QUuid& devId) override;
    void UpdateExControlDev(const QUuid& devId) override;
    /// Closes the channel of a device. The device must still be in the model, with its original type: the type selects
    /// the channel to close.
    void DelExControlDev(const QUuid& devId) override;
    void SendExControlCmd(const QUuid& devId, const QUuid& cmdId) override;

private:
    // After a device is deleted, its entry remains with a null pointer.
    std::map<QUuid, std::shared_ptr<Comm::UDPClientChannel>> m_udpChannels;
    std::map<QUuid, std::shared_ptr<Comm::COMChannel>> m_comChannels;
};
