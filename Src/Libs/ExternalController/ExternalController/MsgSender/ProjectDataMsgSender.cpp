#include "ExternalController/MsgSender/ProjectDataMsgSender.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/HostIdentity.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/CloudReplies.h"
#include "Interfaces/ScreenModel.h"

namespace {

constexpr int kLogDays = 7;

const char* StateText(const std::vector<std::shared_ptr<const IScreenItem>>& screens, int index)
{
    if (index < 0 || index >= static_cast<int>(screens.size()))
        return "NotFound";
    const IScreenItem& screen = *screens[static_cast<std::size_t>(index)];
    if (!screen.IsAdded())
        return "NotAdded";
    return screen.IsOpen() ? "Opened" : "Closed";
}

} // namespace

const CProjectDataMsgSender::Handlers CProjectDataMsgSender::s_handlers = {
    // host
    {Command::SetHostName, &CProjectDataMsgSender::SetHostName},
    {Command::HostNameAndVersion, &CProjectDataMsgSender::SendHostNameAndVersion},
    // session
    {Command::LoginIdentity, &CProjectDataMsgSender::SendLoginIdentity},
    {Command::CheckAppId, &CProjectDataMsgSender::CheckAppId},
    {Command::FPPairingCode, &CProjectDataMsgSender::SendFPPairingCode},
    {Command::AppConnectState, &CProjectDataMsgSender::SendAppConnectState},
    // show
    {Command::ProjectName, &CProjectDataMsgSender::SendProjectName},
    {Command::ScreenState, &CProjectDataMsgSender::SendScreenState},
    // for the cloud
    {Command::SystemInformation, &CProjectDataMsgSender::SendSystemInformation},
    {Command::Logs, &CProjectDataMsgSender::SendLogs},
    {Command::ProjectExport, &CProjectDataMsgSender::ExportProjectData},
};

CProjectDataMsgSender::CProjectDataMsgSender(CAPPServerManager* appServer, IFPClientManager* fpClient,
                                             CCentralControllerManager* centralControl,
                                             ICloudControlManager* cloudControl)
    : CMsgSenderBase(appServer, fpClient, centralControl, cloudControl)
{
    SetSenderType(SenderType::ProjectData);
}

bool CProjectDataMsgSender::HandleMsg(SOperation request)
{
    return Dispatch(*this, s_handlers, request, &CProjectDataMsgSender::EchoToAppAndFPIfAsked);
}

/// Stores the name and confirms it, unless it is empty. In both cases the current name is sent as well.
void CProjectDataMsgSender::SetHostName(const SOperation& request)
{
    const QString name = request.jsonBody["name"].toString();
    if (!name.isEmpty()) {
        if (const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting))
            setting->SaveHostName(name);
        SendReplyToApp(Command::SetHostName, {{"result", 1}});
    }
    SendHostNameAndVersion(request);
}

void CProjectDataMsgSender::SendHostNameAndVersion(const SOperation&)
{
    const QString version = ReadFrom(CGlobalModel::GetInstance(), &CGlobalModel::GetAppFormatName);
    SendReplyToApp(Command::HostNameAndVersion, {{"result", 1}, {"name", GetHostName()}, {"version", version}});
}

void CProjectDataMsgSender::SendLoginIdentity(const SOperation&)
{
    SendReplyToApp(Command::LoginIdentity, {{"result", 1}, {"user", kEditionName}, {"password", kLoginPassword}});
}

void CProjectDataMsgSender::CheckAppId(const SOperation& request)
{
    const QString id = request.jsonBody["id"].toString();
    if (id.isEmpty())
        return;
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    const bool isCurrent = id == ReadFrom(setting, &CZXSoftwareSettingData::GetCurLoginAPPId);
    SendReplyToApp(Command::CheckAppId, {{"result", 1}, {"res", isCurrent ? 1 : 0}});
}

/// Sends the content of the QR code that the FP controller displays for the app: the host's address and the login data.
void CProjectDataMsgSender::SendFPPairingCode(const SOperation& request)
{
    SAPPUserNode user;
    const auto users = GetModel(&CGlobalModel::GetAPPUserModel);
    const bool isThere = users && users->GetFirstUserForFPQRCode(user);
    const QString code = isThere ? GetLocalIPv4() + ',' + user.password + ',' + user.name : QString();
    ReplyToFPIfAsked(request, {{"AppQRCode", code}});
}

void CProjectDataMsgSender::SendAppConnectState(const SOperation& request)
{
    const auto users = GetModel(&CGlobalModel::GetAPPUserModel);
    if (!users)
        return;
    ReplyToCentralControlIfAsked(request,
                                 {{"AppConnectState", users->GetConnectState() ? "Connected" : "NotConnected"}});
}

void CProjectDataMsgSender::SendProjectName(const SOperation& request)
{
    const QString name = ReadFrom(GetModel(&CGlobalModel::GetZXProject), &CZXProject::GetProjectName);
    ReplyToCentralControlIfAsked(request, {{"ProjectName", name + QStringLiteral(".zxc")}});
}

void CProjectDataMsgSender::SendScreenState(const SOperation& request)
{
    CScreenModel* screens = CScreenModel::GetInstance();
    if (!screens)
        return;
    ReplyToCentralControlIfAsked(
        request, {{"screenState", StateText(screens->GetAllScreen(), request.jsonBody["param"].toInt())}});
}

void CProjectDataMsgSender::SendSystemInformation(const SOperation&)
{
    SendToCloud(SystemInformation().Text().toStdString(), CloudControl::SystemInformation);
}

/// Sends the lists that the log model has from its last query, which may be the operator's. Queries only empty lists.
void CProjectDataMsgSender::SendLogs(const SOperation&)
{
    const auto log = GetModel(&CGlobalModel::GetLogModel);
    const QDateTime end = QDateTime::currentDateTime();
    const QDateTime start = end.addDays(-kLogDays);
    if (log && log->GetPlayLogList().isEmpty())
        log->QueryPlayLog(start, end, {}, false);
    const auto played = ReadFrom(log, &CLogModel::GetPlayLogList);
    if (log && log->GetOPLogList().isEmpty())
        log->QueryOPLog(start, end, false);
    const auto operations = ReadFrom(log, &CLogModel::GetOPLogList);
    SendToCloud(PlayLogTable(played), CloudControl::PlayLog);
    SendToCloud(OperationLogTable(operations), CloudControl::OperationLog);
}

void CProjectDataMsgSender::ExportProjectData(const SOperation&)
{
    ExportProject([this](const std::string& message) { SendToCloud(message, CloudControl::ClipAndChapterData); },
                  [this](const std::string& message) { SendToCloud(message, CloudControl::ProjectData); });
}
