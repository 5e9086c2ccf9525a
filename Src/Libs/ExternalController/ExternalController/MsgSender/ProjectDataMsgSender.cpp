#include "ExternalController/MsgSender/ProjectDataMsgSender.h"

#include "ExternalController/Common/HostIdentity.h"
#include "Interfaces/GlobalModel.h"

const CProjectDataMsgSender::Handlers CProjectDataMsgSender::s_handlers = {
    // host
    {Command::SetHostName, &CProjectDataMsgSender::SetHostName},
    {Command::HostNameAndVersion, &CProjectDataMsgSender::SendHostNameAndVersion},
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
    return Dispatch(*this, s_handlers, request, &CProjectDataMsgSender::EchoToAppAndFP);
}

/// An empty name is not stored and gets no answer of its own, but the name in force is told either way.
void CProjectDataMsgSender::SetHostName(const SOperation& request)
{
    const QString name = request.jsonBody["name"].toString();
    if (!name.isEmpty()) {
        CGlobalModel::GetInstance()->GetSoftwareSetting()->SaveHostName(name);
        ReplyToApp(Command::SetHostName, {{"result", 1}});
    }
    SendHostNameAndVersion(request);
}

void CProjectDataMsgSender::SendHostNameAndVersion(const SOperation&)
{
    // Asked by every app again and again: the keys are not made anew each time.
    const QJsonObject reply = {
        {QStringLiteral("result"), 1},
        {QStringLiteral("name"), GetHostName()},
        {QStringLiteral("version"), CGlobalModel::GetInstance()->GetAppFormatName()},
    };
    ReplyToApp(Command::HostNameAndVersion, reply);
}
