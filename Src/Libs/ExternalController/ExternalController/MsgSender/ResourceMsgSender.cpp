#include "ExternalController/MsgSender/ResourceMsgSender.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Picture.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/Capabilities.h"
#include "ExternalController/MsgSender/MediaObject.h"
#include "ExternalController/MsgSender/SharedFolder.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"

#include <QFontDatabase>

#include <algorithm>
#include <utility>

namespace {

/// The "result" for an id that is not a text resource.
constexpr int kNoTextResource = 4003;
/// Fonts with a larger weight are reported as bold.
constexpr int kMaxWeightNotBold = QFont::Medium;

/// The types of files in the list of the shared folder.
constexpr int kSharedTypes[] = {ResourceType::Video,        ResourceType::Audio,       ResourceType::Picture,
                                ResourceType::Presentation, ResourceType::Spreadsheet, ResourceType::Pdf,
                                ResourceType::Word};

QUuid ResourceId(const SOperation& request)
{
    return QUuid(request.jsonBody["resourceId"].toString());
}

CReply ResourceObject(const CResourceBase& resource, const QString& path, int groupType)
{
    CReply object;
    constexpr std::size_t kMembers = 22;
    object.Reserve(kMembers);
    object.Set("resourceId", resource.GetId());
    object.Set("resourceName", resource.GetName());
    object.Set("resourceType", resource.GetType());
    object.Set("path", path);
    object.Set("resolutionW", resource.GetResolution().width());
    object.Set("resolutionH", resource.GetResolution().height());
    object.Set("demuxerSuccessed", resource.GetResDemuxered());
    object.Set("duration", resource.GetDuration());
    Capabilities::Add(object, Capabilities::Resource, resource.GetType(), groupType);
    return object;
}

/// Sets groupType if the resource is a group. Returns false if the group's record is missing.
bool ReadGroupType(CResourceModel& model, CResourceBase& resource, int& groupType)
{
    if (resource.GetType() != ResourceType::Group)
        return true;
    CGroupResource group;
    if (!model.GetGroupResourceNode(resource.GetId(), resource, group))
        return false;
    groupType = group.GetGroupResType();
    return true;
}

CReply TextObject(const QUuid& id, const CTextResource& text)
{
    const QFont& font = text.GetFont();
    const QColor& color = text.GetTextColor();
    const QColor& backColor = text.GetBackColor();
    return {{"result", 1},
            {"resourceId", id},
            {"font", font.family()},
            {"bold", font.weight() > kMaxWeightNotBold},
            {"italic", font.style() != QFont::StyleNormal},
            {"underLine", font.underline()},
            {"horAlignMent", text.GetHorAlignment()},
            {"textColorR", color.red()},
            {"textColorG", color.green()},
            {"textColorB", color.blue()},
            {"hasBackGroundColor", text.HasBackColor()},
            {"backGroundColorR", backColor.red()},
            {"backGroundColorG", backColor.green()},
            {"backGroundColorB", backColor.blue()},
            {"showType", text.GetShowType()},
            {"colorTextEffect", text.GetColorTextEffect()},
            {"textContent", text.GetText()}};
}

} // namespace

const CResourceMsgSender::Handlers CResourceMsgSender::s_handlers = {
    // resources of the show
    {Command::ResourceList, &CResourceMsgSender::SendResourceList},
    {Command::ResourceItem, &CResourceMsgSender::SendResourceItem},
    {Command::ResourceThumbnail, &CResourceMsgSender::SendResourceThumbnail},
    {Command::TextResource, &CResourceMsgSender::SendTextResource},
    {Command::ResourceUsed, &CResourceMsgSender::EchoToApp},
    // what the host can do
    {Command::FontList, &CResourceMsgSender::SendFontList},
    {Command::SupportedFileTypes, &CResourceMsgSender::SendSupportedFileTypes},
    // files that the app may add
    {Command::SharedTypeThumbnails, &CResourceMsgSender::SendSharedTypeThumbnails},
    {Command::SharedFolderList, &CResourceMsgSender::SendSharedFolderList},
};

CResourceMsgSender::CResourceMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                       CCentralControllerManager* centralControl, ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
    , m_sharedPath(ReadFrom(GetModel(&CGlobalModel::GetSoftwareSetting), &CZXSoftwareSettingData::GetAppSharedPath))
{
    SetSenderType(SenderType::Resource);
}

bool CResourceMsgSender::HandleMsg(SOperation request)
{
    return Dispatch(*this, s_handlers, request, &CResourceMsgSender::EchoToOneAsker);
}

void CResourceMsgSender::ModifyAppSharedPath(const QString& path)
{
    const std::lock_guard lock(m_sharedPathMutex);
    m_sharedPath = path;
}

void CResourceMsgSender::SendResourceList(const SOperation&)
{
    CResourceModel* model = CResourceModel::GetInstance();
    auto resources = ReadFrom(model, &CResourceModel::GetAllResNode, false, kEveryResourceType);
    const auto cantPlay = [](const CResourceBase& resource) { return !resource.GetResDemuxered(); };
    resources.erase(std::remove_if(resources.begin(), resources.end(), cantPlay), resources.end());
    const int count = resources.size();
    const CReplyArray items(std::move(resources), [model](CResourceBase resource) {
        int groupType = 0;
        ReadGroupType(*model, resource, groupType);
        CReply item = ResourceObject(resource, resource.GetPath(), groupType);
        item.Set("isUsedFlag", resource.GetResourceUseCount() != 0);
        return item;
    });
    SendReplyToApp(Command::ResourceList, {{"result", 1}, {"count", count}, {"resourceMgrData", items}});
}

void CResourceMsgSender::SendResourceItem(const SOperation& request)
{
    if (!(request.nSourceFlags & Source::App))
        return;
    CResourceModel* model = CResourceModel::GetInstance();
    CResourceBase resource;
    int groupType = 0;
    const QUuid id = ResourceId(request);
    if (!model || id.isNull() || !model->GetResourceBaseNode(id, resource) ||
        !ReadGroupType(*model, resource, groupType))
        return;
    CReply reply = request.jsonBody;
    reply.Set("resourceData", ResourceObject(resource, {}, groupType));
    reply.Remove("resourceId");
    ReplyToAppIfAsked(request, reply);
}

void CResourceMsgSender::SendResourceThumbnail(const SOperation& request)
{
    const QUuid id = ResourceId(request);
    const QPixmap thumbnail = ReadFrom(CResourceModel::GetInstance(), &CResourceModel::GetAppThumbnail, id);
    if (!thumbnail.isNull())
        SendPictureToApp(Command::ResourceThumbnail, id, Encode(thumbnail, "png"));
}

void CResourceMsgSender::SendTextResource(const SOperation& request)
{
    CResourceModel* model = CResourceModel::GetInstance();
    const QUuid id = ResourceId(request);
    CResourceBase resource;
    CTextResource text;
    if (!model || !model->GetTextResourceNode(id, resource, text)) {
        SendReplyToApp(Command::TextResource, {{"result", kNoTextResource}});
        return;
    }
    CReply reply = TextObject(id, text);
    if (const auto shared = ReadFrom(GetPlayController(), &CPlayController::GetMediaSharePty, id, false))
        AddScroll(reply, shared->scroll);
    SendReplyToApp(Command::TextResource, reply);
}

void CResourceMsgSender::SendFontList(const SOperation&)
{
    SendReplyToApp(Command::FontList, {{"fontFamilies", QFontDatabase().families()}});
}

void CResourceMsgSender::SendSupportedFileTypes(const SOperation&)
{
    SendReplyToApp(Command::SupportedFileTypes, {{"supportList", AllSuffixList},
                                                 {"supportVideoType", VideoSuffixList},
                                                 {"supportAudioType", AudioSuffixList},
                                                 {"supportPicType", PictureSuffixList},
                                                 {"supportDocType", OfficeSuffixList},
                                                 {"supportOther", TextSuffixList}});
}

/// Sends one message for each type. They go to the bulk channel because each has a picture, as base64 text.
void CResourceMsgSender::SendSharedTypeThumbnails(const SOperation&)
{
    CResourceModel* model = CResourceModel::GetInstance();
    if (!model)
        return;
    for (const int type : kSharedTypes) {
        const QByteArray picture = Encode(model->GetSharedResourceThumbnail(type), "png");
        DebugLog() << "buffsize:" << picture.size();
        const std::string text = Base64Encode(picture.constData(), static_cast<unsigned int>(picture.size()));
        const CReply reply = {{"result", 1}, {"resType", type}, {"data", SPlainText{text}}};
        SendToApp(Command::ReplyTo(Command::SharedTypeThumbnails), reply.Text(), AppServer::Bulk);
    }
}

void CResourceMsgSender::SendSharedFolderList(const SOperation&)
{
    std::unique_lock lock(m_sharedPathMutex);
    const QString folder = m_sharedPath;
    lock.unlock();

    std::vector<SSharedFile> files = CollectSharedFiles(folder);
    CReply reply = {{"result", 1}, {"count", files.size()}};
    reply.AddNumbered(std::move(files), [](const SSharedFile& file) {
        CReply item;
        constexpr std::size_t kMembers = 2;
        item.Reserve(kMembers);
        item.Set("resPath", file.path);
        item.Set("resType", file.type);
        return item;
    });
    SendReplyToApp(Command::SharedFolderList, reply);
}

void CResourceMsgSender::EchoToApp(const SOperation& request)
{
    SendReplyToApp(request.nCmdCode, request.jsonBody);
}

void CResourceMsgSender::EchoToOneAsker(const SOperation& request)
{
    EchoToAppOrFPIfAsked(request);
}
