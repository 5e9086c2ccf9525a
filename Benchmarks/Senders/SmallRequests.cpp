#include "ExternalController/Common/Command.h"
#include "HostModels/HostModels.h"
#include "Senders/Case.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr double kAim = 1.5;

/// Returns a message as the central-control library delivers it.
constexpr char kPlayStateBody[] =
    R"({"cmd":"getGlobalPlayState","cmdType":290,"remoteIp":"127.0.0.1","remotePort":25600})";
constexpr char kHostNameBody[] = R"({"client":"sendercost","purpose":"measuring it"})";

QByteArray PlayStateByHand()
{
    const QJsonObject request = QJsonDocument::fromJson(kPlayStateBody).object();
    if (request.isEmpty())
        return {};
    QJsonObject reply;
    reply.insert(QLatin1String("GlobalPlayState"), QLatin1String("Stop"));
    return QJsonDocument(reply).toJson();
}

QByteArray HostNameByHand(const QString& name, const QString& version)
{
    const QJsonObject request = QJsonDocument::fromJson(kHostNameBody).object();
    if (request.isEmpty())
        return {};
    QJsonObject reply;
    reply.insert(QLatin1String("result"), 1);
    reply.insert(QLatin1String("name"), name);
    reply.insert(QLatin1String("version"), version);
    return QJsonDocument(reply).toJson();
}

} // namespace

std::vector<SCase> Cases::SmallRequests()
{
    const auto empty = [] { HostModels::Show().Load({}); };
    const QString name = HostModels::SoftwareSetting().LoadHostName();
    const QString version = CGlobalModel::GetInstance()->GetAppFormatName();
    return {{"play-state", 1, kAim, empty, [] { Ask(Command::PlayStateText, kPlayStateBody, Source::CentralControl); },
             PlayStateByHand},
            {"host-name", 1, kAim, empty, [] { Ask(Command::HostNameAndVersion, kHostNameBody); },
             [=] { return HostNameByHand(name, version); }}};
}
