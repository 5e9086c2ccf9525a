#pragma once

#include "ExternalController/Common/Operation.h"

#include <QString>
#include <QUuid>

/// Answers one family of command codes. Called on the thread of the channel that delivered the request.
class IMsgSenderBase {
public:
    virtual ~IMsgSenderBase() = default;

    /// Returns whether the sender took the request.
    virtual bool HandleMsg(SOperation request) = 0;
    virtual void HandleMsgEx(SOperation request) = 0;
    virtual void SetSenderType(int type) = 0;
    virtual int GetSenderType() = 0;

    // External control devices. These calls must not overlap: the controller's thread makes them.
    virtual void CreateExControlDev(const QUuid& /*devId*/) {}
    virtual void UpdateExControlDev(const QUuid& /*devId*/) {}
    virtual void DelExControlDev(const QUuid& /*devId*/) {}
    virtual void SendExControlCmd(const QUuid& /*devId*/, const QUuid& /*cmdId*/) {}

    virtual void ModifyAppSharedPath(const QString& /*path*/) {}
};
