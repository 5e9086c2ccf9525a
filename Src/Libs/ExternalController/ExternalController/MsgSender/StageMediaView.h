#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/MediaNode.h"

#include <list>

class CPlayController;
class CPPtPlayerMgr;
class CRenderController;
class CResourceModel;

/// Describes the media on the stage for apps.
class CStageMediaView {
public:
    CStageMediaView();

    std::list<CMediaNode> Media() const;
    /// Returns the description of a medium. It is empty if the medium's resource or its group record is missing, or if
    /// the medium is a presentation without a player.
    CReply Describe(const CMediaNode& media) const;

private:
    bool AddOfItsKind(CReply& to, const CMediaNode& media, int resourceType) const;

    // Null if the host has no such model.
    CResourceModel* m_resources;
    CPPtPlayerMgr* m_presentations;
    CRenderController* m_render;
    CPlayController* m_player;
};
