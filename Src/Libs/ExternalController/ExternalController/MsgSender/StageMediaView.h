#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/MediaNode.h"

#include <list>

class CPlayController;
class CPPtPlayerMgr;
class CRenderController;
class CResourceModel;

/// The stage's media as apps see them.
class CStageMediaView {
public:
    CStageMediaView();

    std::list<CMediaNode> Media() const;
    /// Empty when the medium's resource is gone, a group's record is missing, or nobody plays its presentation.
    CReply Describe(const CMediaNode& media) const;

private:
    bool AddOfItsKind(CReply& to, const CMediaNode& media, int resourceType) const;

    // Null where the host has none.
    CResourceModel* m_resources;
    CPPtPlayerMgr* m_presentations;
    CRenderController* m_render;
    CPlayController* m_player;
};
