#include "ExternalController/MsgSender/SceneMsgSender.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Picture.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/SceneMgrModel.h"

#include <algorithm>

namespace {

const QLatin1String kVersionWithCurrentGroup("2.0.0");

/// The resources of a scene's media, without a copy of the list.
class CSceneMedia {
public:
    explicit CSceneMedia(CSceneNode scene) : m_scene(std::move(scene)) {}

    auto begin() const { return m_scene.GetAllMediaResourceId().begin(); }
    std::size_t size() const { return m_scene.GetAllMediaResourceId().size(); }

private:
    CSceneNode m_scene;
};

CReply SceneObject(const CSceneNode& scene)
{
    CReply object;
    constexpr std::size_t kMembers = 6;
    object.Reserve(kMembers);
    object.Set("currentIndex", 0);
    object.Set("fadeInTime", scene.GetFadeInTime());
    object.Set("fadeOutTime", scene.GetFadeOutTime());
    object.Set("sceneId", scene.GetId());
    object.Set("sceneName", scene.GetName());
    // With braces, unlike all other ids.
    object.Set("mediaIdList", CReplyArray(CSceneMedia(scene), [](const QUuid& id) { return SBracedId{id}; }));
    return object;
}

CReply GroupObject(CSceneMgrModel* model, const QUuid& groupId)
{
    auto sceneIds = ReadFrom(model, &CSceneMgrModel::GetGroupSceneId, groupId);
    CReply group = {{"count", sceneIds.size()},
                    {"sceneGroupId", groupId},
                    {"sceneGroupName", ReadFrom(model, &CSceneMgrModel::GetSceneGroupName, groupId)}};
    group.AddNumbered(std::move(sceneIds),
                      [model, groupId](const QUuid& id) { return SceneObject(model->GetSceneNode(groupId, id)); });
    return group;
}

/// Replaces the current group by the first group, which all versions of the app but one expect.
CReply ForLoggedInApp(CReply data, const std::vector<QUuid>& groupIds)
{
    const auto users = GetModel(&CGlobalModel::GetAPPUserModel);
    const QString version = ReadFrom(users, &CAPPUserModel::GetCurLoginAppVersion);
    if (version != kVersionWithCurrentGroup && !groupIds.empty())
        data.Set("currentSceneGroupId", groupIds.front());
    return data;
}

/// Returns the position of the id, counted from 1, or 0 if it is not in the list.
int PositionOf(const QUuid& id, const std::vector<QUuid>& ids)
{
    const auto found = std::find(ids.begin(), ids.end(), id);
    return found == ids.end() ? 0 : static_cast<int>(found - ids.begin()) + 1;
}

struct SChapter {
    int group = 0; ///< position of the scene group, from 1; 0: no chapter is playing
    int scene = 0; ///< position in the group, likewise
};

/// Returns an empty chapter if the stage isn't playing, or if the playing scene has been removed from its group.
SChapter PlayingChapter()
{
    CPlayController* player = GetPlayController();
    CSceneMgrModel* model = CSceneMgrModel::GetInstance();
    if (!player || !model || (!player->GetStageIsPlaying() && player->GetGlobalPlayState() != PlayState::Playing))
        return {};
    const auto [groupId, sceneId] = model->GetCurPlayScene();
    const SChapter chapter = {PositionOf(groupId, model->GetAllSceneGroupId()),
                              PositionOf(sceneId, model->GetGroupSceneId(groupId))};
    return chapter.group == 0 || chapter.scene == 0 ? SChapter{} : chapter;
}

} // namespace

const CSceneMsgSender::Handlers CSceneMsgSender::s_handlers = {
    {Command::SceneManagerData, &CSceneMsgSender::SendSceneManagerData},
    {Command::MainSceneGroup, &CSceneMsgSender::SendMainSceneGroup},
    {Command::MainSceneGroupAgain, &CSceneMsgSender::SendMainSceneGroup},
    {Command::PlayingChapter, &CSceneMsgSender::SendPlayingChapter},
};

CSceneMsgSender::CSceneMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                 CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::Scene);
}

bool CSceneMsgSender::HandleMsg(SOperation request)
{
    // Not in the table: this is the only handler that can reject its request.
    if (request.nCmdCode == Command::SceneThumbnail)
        return SendSceneThumbnail(request);
    return Dispatch(*this, s_handlers, request, &CSceneMsgSender::EchoToOneAsker);
}

void CSceneMsgSender::SendSceneManagerData(const SOperation& request)
{
    CSceneMgrModel* model = CSceneMgrModel::GetInstance();
    const auto groupIds = ReadFrom(model, &CSceneMgrModel::GetAllSceneGroupId);
    const auto [groupId, sceneId] = ReadFrom(model, &CSceneMgrModel::GetCurPlayScene);

    CReply groups;
    groups.AddNumbered(groupIds, [model](const QUuid& id) { return GroupObject(model, id); });
    const CReply data = {{"result", 1},
                         {"currentSceneGroupId", groupId},
                         {"currentSceneId", sceneId},
                         {"count", groupIds.size()},
                         {"sceneGroupDataList", groups}};
    if (request.nSourceFlags & Source::App)
        SendReplyToApp(Command::SceneManagerData, {{"sceneMgrData", ForLoggedInApp(data, groupIds)}});
    ReplyToFPIfAsked(request, {{"sceneMgrData", data}});
}

void CSceneMsgSender::SendMainSceneGroup(const SOperation& request)
{
    CSceneMgrModel* model = CSceneMgrModel::GetInstance();
    CReply reply = request.jsonBody;
    reply.Set("sceneGroupData", GroupObject(model, ReadFrom(model, &CSceneMgrModel::GetMainKVId)));
    ReplyToAppIfAsked(request, reply);
    // Always with this code: the FP controller doesn't know MainSceneGroupAgain.
    if (request.nSourceFlags & Source::FP)
        SendReplyToFP(Command::MainSceneGroup, reply);
}

void CSceneMsgSender::SendPlayingChapter(const SOperation& request)
{
    if (!request.jsonBody.contains(QLatin1String("cmd")))
        return;
    const SChapter chapter = PlayingChapter();
    SendReplyToCentralControl(
        request, {{"playingChapter", CReply{{"sceneGrpCol", chapter.group}, {"sceneCol", chapter.scene}}}});
}

bool CSceneMsgSender::SendSceneThumbnail(const SOperation& request)
{
    const QUuid groupId(request.jsonBody["sceneGroupId"].toString());
    const QUuid sceneId(request.jsonBody["sceneId"].toString());
    if (groupId.isNull() || sceneId.isNull())
        return false;
    DebugLog() << "grp Id:" << groupId << "sceneId" << sceneId;
    CSceneMgrModel* model = CSceneMgrModel::GetInstance();
    const QPixmap image = ReadFrom(model, &CSceneMgrModel::GetSceneImage, groupId, sceneId);
    SendPictureToApp(Command::SceneThumbnail, sceneId, Encode(ToThumbnail(image), "jpg"));
    return true;
}

void CSceneMsgSender::EchoToOneAsker(const SOperation& request)
{
    if (!EchoToAppOrFPIfAsked(request) && (request.nSourceFlags & Source::CentralControl))
        SendHostTextToCentralControl(request, request.jsonBody["errorMsg"].toString().toUtf8());
}
