#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/AppPackage.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/RsaCipher.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/AppServer.h"

#include <QJsonObject>

namespace {

using Users = std::shared_ptr<CAPPUserModel>;

LoginResult::Code CheckUser(const Users& users, const QString& name, const std::string& password)
{
    const bool exists = !name.isEmpty() && ReadFrom(users, &CAPPUserModel::IsExistUser, name);
    const SAPPUserNode node = ReadFrom(users, &CAPPUserModel::GetUserNode, name);
    if (!node.name.isEmpty() && DecryptPassword(node.password.toStdString()) != password)
        return LoginResult::WrongPassword;
    return exists ? LoginResult::Success : LoginResult::UnknownUser;
}

} // namespace

void CExternalController::ResponPublickey(std::string remoteIp, unsigned short remotePort)
{
    const CReply reply = {{"result", 1}, {"publicKey", PublicKeyText()}};
    m_appServer->SendPackage(MakeAppPackage(Command::ReplyTo(Command::PublicKey), reply.Text()), AppServer::Control,
                             remoteIp, remotePort);
}

void CExternalController::LogInApp(const SOperation& request, const std::string& remoteIp, unsigned short remotePort)
{
    // If two apps log in at the same time, only one of them may find that no app is logged in.
    const std::lock_guard login(m_loginMutex);
    if (ResponAPPLogin(request.jsonBody, remoteIp, remotePort))
        ReportToHost(request, !request.jsonBody.isEmpty());
}

bool CExternalController::ResponAPPLogin(QJsonObject body, std::string remoteIp, unsigned short remotePort)
{
    const QString user = body["username"].toString();
    const bool force = body["force"].toInt() != 0;
    const std::string password = DecryptPassword(body["password"].toString().toStdString());
    DebugLog() << "decryptPassword" << password.c_str();

    const Users users = GetModel(&CGlobalModel::GetAPPUserModel);
    const auto storeLogin = [&] {
        users->SetLoginState(true);
        users->SetCurrentLoginUser(user);
    };

    int error = CheckUser(users, user, password);
    if (ReadFrom(users, &CAPPUserModel::GetLoginState)) {
        if (!force) {
            error = LoginResult::AnotherAppLoggedIn;
        } else {
            DebugLog() << " force Login!";
            if (error == LoginResult::Success) {
                const SAppAddress displaced = LastApp();
                if (remoteIp != displaced.ip) {
                    m_appServer->SendPackage(MakeAppPackage(Command::ReplyTo(Command::AppGone), {}), AppServer::Control,
                                             displaced.ip, displaced.port);
                }
                // Emitted here for the takeover and again below for the login: the host restarts the stream for the
                // new app.
                storeLogin();
                emit signalStartPushStream(std::string());
            }
        }
    }
    if (error == LoginResult::Success) {
        storeLogin();
        users->SetCurLoginAppVersion(body["appVersion"].toString());
        users->SetCurLoginAppType(body["appType"].toInt());
        emit signalStartPushStream(std::string());
        StartHeartBeat({remoteIp, remotePort});
    }
    DebugLog() << " login error code :" << error;

    const QString current = ReadFrom(users, &CAPPUserModel::GetCurrentLoginUser);
    const int access = ReadFrom(users, &CAPPUserModel::GetUserAccess, current);
    const CReply reply = {{"result", error}, {"account", current}, {"access", access}};
    m_appServer->SendPackage(MakeAppPackage(Command::ReplyTo(Command::Login), reply.Text()), AppServer::Control,
                             remoteIp, remotePort);
    return error == LoginResult::Success;
}
