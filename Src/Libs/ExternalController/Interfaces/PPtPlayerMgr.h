#pragma once

#include <QUuid>

class IPPtPlayer;

/// The players of the stage's presentations. Its operations are safe to call from any thread.
class CPPtPlayerMgr {
public:
    virtual ~CPPtPlayerMgr() = default;

    /// The player of this medium, or null.
    virtual IPPtPlayer* GetPPtPlayer(const QUuid& mediaId) = 0;
};

CPPtPlayerMgr* GetPPtPlayerMgr();
