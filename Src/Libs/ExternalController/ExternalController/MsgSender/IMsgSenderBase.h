#pragma once

#include "ExternalController/Common/Operation.h"

#include <QString>
#include <QUuid>

/// Answers the requests of one group of command codes. The functions are called on the thread of the channel that
/// received the request, so several threads may call them at the same time.
class IMsgSenderBase {
public:
    virtual ~IMsgSenderBase() = default;

    /// Answers the request. Returns false if the sender rejects it.
    virtual bool HandleMsg(SOperation request) = 0;
    /// Not used: the senders do nothing here.
    virtual void HandleMsgEx(SOperation request) = 0;
    /// The key of the sender in the sender table: a SenderType.
    virtual void SetSenderType(int type) = 0;
    virtual int GetSenderType() = 0;

    // External control devices. Call these functions on the controller's thread only.
    virtual void CreateExControlDev(const QUuid& /*devId*/) {}
    virtual void UpdateExControlDev(const QUuid& /*devId*/) {}
    virtual void DelExControlDev(const QUuid& /*devId*/) {}
    virtual void SendExControlCmd(const QUuid& /*devId*/, const QUuid& /*cmdId*/) {}

    /// Sets the shared folder whose files the app can list. May be called from any thread.
    virtual void ModifyAppSharedPath(const QString& /*path*/) {}
};
