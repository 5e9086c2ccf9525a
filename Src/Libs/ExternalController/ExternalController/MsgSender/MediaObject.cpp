#include "ExternalController/MsgSender/MediaObject.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/Capabilities.h"
#include "Interfaces/MediaNode.h"
#include "Interfaces/PPtPlayerMgr.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/RenderController.h"
#include "Interfaces/ResourceModel.h"

#include <QMatrix4x4>

namespace {

/// Returns the position of the top left corner for apps, which rotate a medium about this corner, not about its centre.
QPointF CornerOnStage(const SLayoutProperty& layout)
{
    const QPointF centre = (layout.corners[0] + layout.corners[2]) / 2;
    const auto x = static_cast<float>(centre.x());
    const auto y = static_cast<float>(centre.y());
    QMatrix4x4 turn;
    turn.translate(x, y);
    turn.rotate(-layout.rotation, 0, 0, 1);
    turn.translate(-x, -y);
    return turn.map(layout.position);
}

void AddLayout(CReply& to, const SLayoutProperty& layout)
{
    to.Set("rotation", layout.rotation);
    to.Set("sizeW", layout.size.width());
    to.Set("sizeH", layout.size.height());
    const QPointF position = layout.rotation != 0 ? CornerOnStage(layout) : layout.position;
    to.Set("posX", qRound64(position.x()));
    to.Set("posY", qRound64(position.y()));
    to.Set("srcPosX", qRound64(layout.position.x()));
    to.Set("srcPosY", qRound64(layout.position.y()));
    to.Set("isHided", layout.hidden);
    to.Set("isLocked", layout.locked);
    to.Set("isHorFlip", layout.horFlip);
    to.Set("isVerFlip", layout.verFlip);
    to.Set("isFixed", layout.fixed);
    to.Set("fillType", layout.fillType);
    to.Set("blendType", layout.blendType);
}

/// Adds the keys that only some types of resources have. Returns false if the medium can't be described.
bool AddOfItsKind(CReply& to, const CMediaNode& media, int resourceType)
{
    const auto play = media.GetPlayProperty();
    switch (resourceType) {
    case ResourceType::Presentation:
        to.Set("mediaState", play->currentState);
        return ReadFrom(GetPPtPlayerMgr(), &CPPtPlayerMgr::GetPPtPlayer, media.GetId()) != nullptr;
    case ResourceType::Text:
    case ResourceType::ScrollingGroup:
        AddScroll(to, play->scroll);
        return true;
    case ResourceType::Spreadsheet:
    case ResourceType::Table:
    case ResourceType::Database:
    case ResourceType::Pdf:
    case ResourceType::Word:
        to.Set("mediaState", play->currentState);
        AddScroll(to, *media.GetPageScroll());
        return true;
    default:
        return true;
    }
}

} // namespace

CReply MediaObject(const CMediaNode& media)
{
    CResourceModel* resources = CResourceModel::GetInstance();
    CResourceBase resource;
    if (!resources || !resources->GetResourceBaseNode(media.GetResourceId(), resource))
        return {};
    CGroupResource group;
    if (resource.GetType() == ResourceType::Group &&
        !resources->GetGroupResourceNode(resource.GetId(), resource, group))
        return {};

    const auto play = media.GetPlayProperty();
    const auto timing = media.GetTimingProperty();
    SMediaPlayData playData = {0, -1};
    if (CPlayController* player = GetPlayController())
        player->GetMediaPlayData(media.GetId(), playData);
    QString streamUrl;
    if (CRenderController* render = GetRenderController())
        render->GetMediaStreamPushUrl(media.GetId(), streamUrl);

    CReply object;
    constexpr std::size_t kMembers = 48;
    object.Reserve(kMembers);
    object.Set("currentTime", playData.currentTime);
    object.Set("mediaId", media.GetId());
    object.Set("mediaName", media.GetName());
    object.Set("resourceId", media.GetResourceId());
    object.Set("resourceType", media.GetResourceType());
    object.Set("totalTime", timing->totalTime);
    object.Set("startPlayTime", play->startPlayTime);
    object.Set("playMode", timing->playMode);
    object.Set("mediaState", playData.mediaState);
    object.Set("isMuted", play->muted);
    object.Set("pushStreamUrl", streamUrl);
    object.Set("playState", "");
    AddLayout(object, *media.GetLayoutProperty());
    Capabilities::Add(object, Capabilities::Media, resource.GetType(), group.GetGroupResType());
    return AddOfItsKind(object, media, resource.GetType()) ? object : CReply();
}

void AddScroll(CReply& to, const SScrollSettings& scroll)
{
    to.Set("scrollMode", scroll.mode);
    to.Set("headConnectTail", scroll.headConnectTail);
    to.Set("scrollInterval", scroll.interval);
    to.Set("scrollSpeed", scroll.speed);
}
