#include "ShowRemote/Commands/Login.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/RsaEncryption.h"
#include "Shared/PasswordInput.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr char kAppId[] = "showremote";
constexpr char kAppVersion[] = "2.0.0";
constexpr int kAppType = 0;

QJsonObject AskFor(CEnvelopePeer& peer, Command::Code code, const QByteArray& body, std::chrono::milliseconds timeout)
{
    SRequest request;
    request.code = static_cast<unsigned int>(code);
    request.body = body;
    request.timeout = timeout;
    // Ask returns the last reply, which is the expected one.
    return ReadJson(AppRequests::Ask(peer, request)).object();
}

} // namespace

void AddLoginOptions(CCommandLine& line)
{
    line.AddOption({"user",
                    QStringLiteral("Log in as NAME first, with the password from the environment variable %1 or from "
                                   "a prompt. The request login then needs no JSON.")
                        .arg(kPasswordVariable),
                    "NAME"});
    line.AddOption({"password-fd", "Read the password from file descriptor N.", "N", "0"});
    line.AddOption({"force", "Replace an app that is logged in."});
    line.AddOption({"app-version",
                    QStringLiteral("Report version V of the app at login (default %1).").arg(kAppVersion), "V",
                    kAppVersion});
}

void RefuseLoginOptions(const CCommandLine& line)
{
    line.Refuse({"password-fd", "force", "app-version"}, "can only be used with --user NAME");
}

SCredentials ReadCredentials(const CCommandLine& line)
{
    SCredentials credentials;
    credentials.user = line.Value("user");
    credentials.appVersion = line.Value("app-version");
    credentials.force = line.IsSet("force");
    if (line.IsSet("password-fd"))
        credentials.password = PasswordInput::ReadFrom(line.Number("password-fd", 0));
    else if (qEnvironmentVariableIsSet(kPasswordVariable))
        credentials.password = qEnvironmentVariable(kPasswordVariable);
    else
        credentials.password = PasswordInput::Ask("Password");
    return credentials;
}

void LogIn(CEnvelopePeer& peer, const SCredentials& credentials, std::chrono::milliseconds timeout)
{
    const QString publicKey = AskFor(peer, Command::PublicKey, {}, timeout)["publicKey"].toString();
    QString fault;
    const auto password = EncryptPassword(credentials.password, publicKey, fault);
    if (!password)
        throw CFailure("can't encrypt the password: " + fault);
    const QJsonObject body = {
        {"username", credentials.user},
        {"password", *password},
        {"id", kAppId},
        {"appVersion", credentials.appVersion},
        {"appType", kAppType},
        {"force", credentials.force ? 1 : 0}, // the host reads a number
    };
    AskFor(peer, Command::Login, QJsonDocument(body).toJson(QJsonDocument::Compact), timeout);
    Output::PrintLine(QStringLiteral("logged in as %1").arg(credentials.user));
}
