#pragma once

#include "ExternalController/MsgSender/MsgSenderBase.h"

class IScreenMsgSender {
public:
    virtual ~IScreenMsgSender() = default;
};

/// Entry for screens in the sender table. It never receives a request, because no command code selects its key: the
/// project-data sender answers requests for the state of a screen, the stage sender those for the list of screens.
class CScreenMsgSender : public CMsgSenderBase, public IScreenMsgSender {
public:
    using CMsgSenderBase::CMsgSenderBase;

    bool HandleMsg(SOperation) override { return true; }
};
