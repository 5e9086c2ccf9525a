#include "ExternalController/MsgSender/StageMsgSender.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Percent.h"
#include "ExternalController/Common/Picture.h"
#include "ExternalController/MsgSender/CloudPicture.h"
#include "ExternalController/MsgSender/MediaObject.h"
#include "Interfaces/MediaNode.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/RenderController.h"
#include "Interfaces/SceneMgrModel.h"
#include "Interfaces/ScreenModel.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace {

// Stored values are slightly below the values that the operator typed, and the app rounds down. Values that the app can
// edit are therefore increased slightly, in single precision. Apps expect exactly these amounts, which differ by key.
constexpr float kBias = std::numeric_limits<float>::epsilon();
constexpr float kGlobalVolumeBias = 5 * kBias;

constexpr int kSoftwareHdr = 1;

// Port and path of the host's stage preview stream. Fixed: they don't depend on the settings.
constexpr int kPreviewPort = 5540;
constexpr char kPreviewPath[] = "Zentravox/Preview";

double Biased(float value, float bias)
{
    const float sum = value + bias;
    return double{sum};
}

CReply ColorKeys(const IEffectProperty& effect, float bias)
{
    return {{"fBlue", Biased(effect.GetBlue(), bias)},
            {"fRed", Biased(effect.GetRed(), bias)},
            {"fGreen", Biased(effect.GetGreen(), bias)},
            {"fContrast", Biased(effect.GetContrast(), bias)},
            {"fLuminance", Biased(effect.GetLuminance(), bias)},
            {"fSaturability", Biased(effect.GetSaturation(), bias)},
            {"fHue", Biased(effect.GetHue(), bias)}};
}

CReply DivisionObject(const IScreenItem& screen)
{
    const QList<QRectF> parts = screen.GetDivisionRects();
    CReply division = {{"divScreenType", screen.GetDivisionType()}, {"divCount", parts.size()}};
    division.AddNumbered(parts, [](const QRectF& part) {
        return CReply{{"x", part.x()}, {"y", part.y()}, {"width", part.width()}, {"height", part.height()}};
    });
    return division;
}

CReply ScreenObject(const IScreenItem& screen)
{
    return {{"screenName", screen.GetName()},  {"screenId", screen.GetId()},
            {"posX", screen.GetPosX()},        {"posY", screen.GetPosY()},
            {"sizeW", screen.GetWidth()},      {"sizeH", screen.GetHeight()},
            {"state", int{screen.GetState()}}, {"isAdded", screen.IsAdded()},
            {"isUseful", screen.IsUseful()},   {"divScreenRectData", DivisionObject(screen)}};
}

} // namespace

const CStageMsgSender::Handlers CStageMsgSender::s_handlers = {
    // what is playing
    {Command::StageSnapshot, &CStageMsgSender::SendStageSnapshot},
    {Command::StageSnapshotAgain, &CStageMsgSender::SendStageSnapshot},
    {Command::PlayStateText, &CStageMsgSender::SendPlayStateText},
    {Command::PlayStateNumber, &CStageMsgSender::SendPlayStateNumber},
    {Command::VolumeState, &CStageMsgSender::SendVolume},
    {Command::MuteState, &CStageMsgSender::SendMuteState},
    {Command::BlackScreenState, &CStageMsgSender::SendBlackScreenState},
    {Command::PictureAdjustment, &CStageMsgSender::SendPictureAdjustment},
    {Command::HdrState, &CStageMsgSender::SendHdrState},
    // projects, screens and modes
    {Command::ProjectList, &CStageMsgSender::SendProjectList},
    {Command::ScreenList, &CStageMsgSender::SendScreenList},
    {Command::AppControlMode, &CStageMsgSender::SendAppControlMode},
    {Command::StagePreviewMode, &CStageMsgSender::SendStagePreviewMode},
    // media and pictures
    {Command::MediaList, &CStageMsgSender::SendMediaList},
    {Command::MediaData, &CStageMsgSender::SendMediaData},
    {Command::MediaThumbnail, &CStageMsgSender::SendMediaThumbnail},
    {Command::PreviewPath, &CStageMsgSender::SendPreviewPath},
    {Command::StagePreviewPush, &CStageMsgSender::PushStagePreview},
    {Command::WindowStreamPath, &CStageMsgSender::IgnoreRequest},
    // commands that the host has executed: the FP controller gets its request back
    {Command::BlackScreen, &CStageMsgSender::EchoToFPIfAsked},
    {Command::Volume, &CStageMsgSender::EchoToFPIfAsked},
};

CStageMsgSender::CStageMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                 CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::Stage);
}

bool CStageMsgSender::HandleMsg(SOperation request)
{
    return Dispatch(*this, s_handlers, request, &CStageMsgSender::EchoToAskers);
}

void CStageMsgSender::SendStageSnapshot(const SOperation& request)
{
    CSceneMgrModel* scenes = CSceneMgrModel::GetInstance();
    const auto effect = ReadFrom(scenes, &CSceneMgrModel::GetGlobalProperty);
    CPlayController* player = GetPlayController();
    if (!effect || !player)
        return;

    const auto [groupId, sceneId] = scenes->GetCurPlayScene();
    const auto [left, right] = player->GetVolumn();
    const double globalVolume = effect->IsMute() ? 0 : Biased(effect->GetVolume(), kGlobalVolumeBias);
    const auto projectSetting = GetModel(&CGlobalModel::GetProjectSetting);
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    const QColor color = ReadFrom(setting, &CZXSoftwareSettingData::LoadStageColor);
    const CReply stage = {{"result", 1},
                          {"blackScreen", effect->IsBlack()},
                          {"currentSceneGroupId", groupId},
                          {"currentSceneId", sceneId},
                          {"mediaIdList", player->GetAllStageMediaId()},
                          {"ratio", ReadFrom(projectSetting, &CZXProjectSettingData::LoadStageZoomRatio)},
                          {"leftVolumn", Biased(left, kBias)},
                          {"rightVolumn", Biased(right, kBias)},
                          {"globalVolumn", globalVolume},
                          {"globalPlayState", player->GetGlobalPlayState()},
                          {"stagePicData", ColorKeys(*effect, 0)},
                          {"stageColorR", color.red()},
                          {"stageColorG", color.green()},
                          {"stageColorB", color.blue()}};
    SendReplyToApp(request.nCmdCode, {{"stageData", stage}});
}

void CStageMsgSender::SendPlayStateText(const SOperation& request)
{
    CPlayController* player = GetPlayController();
    if (!player)
        return;
    const char* state = player->GetStageIsPlaying() ? "Play" : player->GetStageIsPausing() ? "Pause" : "Stop";
    ReplyToCentralControlIfAsked(request, {{"GlobalPlayState", state}});
}

void CStageMsgSender::SendPlayStateNumber(const SOperation& request)
{
    if (CPlayController* player = GetPlayController())
        ReplyToFPIfAsked(request, {{"globalPlayState", player->GetGlobalPlayState()}});
}

void CStageMsgSender::SendVolume(const SOperation& request)
{
    const auto effect = ReadFrom(CSceneMgrModel::GetInstance(), &CSceneMgrModel::GetGlobalProperty);
    if (!effect)
        return;
    ReplyToFPIfAsked(request, {{"globalVolume", effect->GetVolume()}});
}

void CStageMsgSender::SendMuteState(const SOperation& request)
{
    const auto effect = ReadFrom(CSceneMgrModel::GetInstance(), &CSceneMgrModel::GetGlobalProperty);
    if (!effect)
        return;
    ReplyToCentralControlIfAsked(request, {{"globalMuteState", effect->IsMute() ? "mute" : "unmute"}});
}

/// Replies to central control if it asked, otherwise to the FP controller if that asked.
void CStageMsgSender::SendBlackScreenState(const SOperation& request)
{
    const auto effect = ReadFrom(CSceneMgrModel::GetInstance(), &CSceneMgrModel::GetGlobalProperty);
    if (!effect)
        return;
    const CReply reply = {{"blackState", effect->IsBlack() ? "balck" : "unBlack"}};
    if (request.nSourceFlags & Source::CentralControl)
        SendReplyToCentralControl(request, reply);
    else
        ReplyToFPIfAsked(request, reply);
}

/// Central control and the FP controller get only the brightness, and only if no other source flag is set. Otherwise
/// the app gets all values.
void CStageMsgSender::SendPictureAdjustment(const SOperation& request)
{
    const auto effect = ReadFrom(CSceneMgrModel::GetInstance(), &CSceneMgrModel::GetGlobalProperty);
    if (!effect)
        return;
    if (request.nSourceFlags == Source::CentralControl)
        SendReplyToCentralControl(request, {{"globalBrightness", Percent(effect->GetLuminance())}});
    else if (request.nSourceFlags == Source::FP)
        SendReplyToFP(Command::PictureAdjustment, {{"globalBrightness", Percent(effect->GetLuminance())}});
    else
        SendReplyToApp(Command::PictureAdjustment, ColorKeys(*effect, kBias));
}

void CStageMsgSender::SendHdrState(const SOperation& request)
{
    const auto setting = GetModel(&CGlobalModel::GetProjectSetting);
    const auto [on, kind] = ReadFrom(setting, &CZXProjectSettingData::LoadHDRSetting);
    ReplyToCentralControlIfAsked(
        request, {{"HDRState", on ? "opened" : "closed"}, {"HDRType", kind == kSoftwareHdr ? "software" : "hardware"}});
}

void CStageMsgSender::SendProjectList(const SOperation& request)
{
    const auto open = GetModel(&CGlobalModel::GetZXProject);
    const auto projects = ReadFrom(open, &CZXProject::GetProjectMgrList);
    CReply reply = {{"result", 1},
                    {"count", projects.size()},
                    {"currentProId", ReadFrom(open, &CZXProject::GetId)},
                    {"currentProName", ReadFrom(open, &CZXProject::GetProjectName)}};
    reply.AddNumbered(projects, [](const SProjectMgrNode& project) {
        return CReply{{"projectName", project.name}, {"projectId", project.id}};
    });
    ReplyToAppIfAsked(request, reply);
    ReplyToFPIfAsked(request, reply);
}

void CStageMsgSender::SendScreenList(const SOperation&)
{
    const auto screens = ReadFrom(CScreenModel::GetInstance(), &CScreenModel::GetAllScreen);
    CReply list = {{"result", 1}, {"count", screens.size()}};
    list.AddNumbered(screens, [](const auto& screen) { return ScreenObject(*screen); });
    SendReplyToApp(Command::ScreenList, {{"screenMgrData", list}});
}

void CStageMsgSender::SendAppControlMode(const SOperation& request)
{
    const int mode = ReadFrom(GetModel(&CGlobalModel::GetZXProject), &CZXProject::GetAppCtrlMode);
    ReplyToAppIfAsked(request, {{"mode", mode}, {"result", 1}});
}

void CStageMsgSender::SendStagePreviewMode(const SOperation& request)
{
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    const int mode = ReadFrom(setting, &CZXSoftwareSettingData::LoadStagePreviewMode);
    ReplyToAppIfAsked(request, {{"mode", mode}, {"result", 1}});
}

/// Sends no reply if one medium can't be described: the app would assume that an incomplete list is complete.
void CStageMsgSender::SendMediaList(const SOperation&)
{
    const auto media = ReadFrom(GetPlayController(), &CPlayController::GetStageMedias);
    bool isComplete = true;
    CReply list = {{"result", 1}, {"count", media.size()}};
    list.AddNumbered(std::vector<CMediaNode>(media.begin(), media.end()), [&isComplete](const CMediaNode& medium) {
        CReply object = MediaObject(medium);
        isComplete = isComplete && !object.IsEmpty();
        return object;
    });
    QByteArray text = CReply{{"mediaList", list}}.Text();
    if (isComplete)
        SendToApp(Command::ReplyTo(Command::MediaList), std::move(text));
}

void CStageMsgSender::SendMediaData(const SOperation& request)
{
    if (!(request.nSourceFlags & Source::App))
        return;
    const QUuid mediaId(request.jsonBody["mediaId"].toString());
    const auto media = ReadFrom(GetPlayController(), &CPlayController::GetStageMedias);
    const auto found =
        std::find_if(media.begin(), media.end(), [&](const CMediaNode& medium) { return medium.GetId() == mediaId; });
    CReply reply = request.jsonBody;
    if (found != media.end()) {
        reply.Remove("mediaId");
        reply.Set("mediaData", MediaObject(*found));
    }
    ReplyToAppIfAsked(request, reply);
}

void CStageMsgSender::SendMediaThumbnail(const SOperation& request)
{
    const QUuid mediaId(request.jsonBody["mediaId"].toString());
    const QImage image = ReadFrom(GetRenderController(), &CRenderController::GetImageWithAlpha, mediaId);
    if (!image.isNull())
        SendPictureToApp(Command::MediaThumbnail, mediaId, Encode(ToThumbnail(image), "png"));
}

void CStageMsgSender::SendPreviewPath(const SOperation& request)
{
    ReplyToCentralControlIfAsked(request, {{"port", kPreviewPort}, {"previewPath", kPreviewPath}});
}

void CStageMsgSender::PushStagePreview(const SOperation&)
{
    const QImage image = ReadFrom(GetRenderController(), &CRenderController::GetStageViewImage);
    if (!image.isNull())
        SendToCloud(CloudPicture("preview", {}, image), CloudControl::ClipAndChapterData);
}

void CStageMsgSender::EchoToFPIfAsked(const SOperation& request)
{
    ReplyToFPIfAsked(request, request.jsonBody);
}

/// The app and the FP controller get the body. Central control gets the object that the host has put into "respon", or
/// the text of "errorMsg" if there is none.
void CStageMsgSender::EchoToAskers(const SOperation& request)
{
    EchoToAppAndFPIfAsked(request);
    if (!(request.nSourceFlags & Source::CentralControl))
        return;
    if (request.jsonBody.contains(QLatin1String("respon")))
        SendHostTextToCentralControl(request, CReply(request.jsonBody["respon"].toObject()).Text());
    else
        SendHostTextToCentralControl(request, request.jsonBody["errorMsg"].toString().toUtf8());
}

/// Accepts a request without a reply.
void CStageMsgSender::IgnoreRequest(const SOperation&) {}
