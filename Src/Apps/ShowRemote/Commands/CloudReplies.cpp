#include "ShowRemote/Commands/CloudReplies.h"

#include "Comm/PayloadText.h"
#include "ExternalController/Common/JsonReader.h"
#include "Interfaces/CloudControl.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Contract.h"

#include <QDir>
#include <QJsonObject>
#include <QUuid>

#include <map>

namespace {

struct SRoute {
    const char* name;
    const char* file; ///< name of the output file; null if the reply determines it
};

const std::map<int, SRoute> kRoutes = {
    {CloudControl::SystemInformation, {"system information", "system-information.json"}},
    {CloudControl::ProjectData, {"project", "project.json"}},
    {CloudControl::ClipAndChapterData, {"picture", nullptr}},
    {CloudControl::PlayLog, {"play log", "play-log.csv"}},
    {CloudControl::OperationLog, {"operation log", "operation-log.csv"}},
};

/// Prints the name and size of a picture instead of its base64 text. Returns the reason why the picture is a failure,
/// or an empty text.
QString ShowPicture(const QByteArray& message, const QString& outFolder)
{
    const QJsonDocument picture = ReadJson(message);
    const QString type = picture["type"].toString();
    const QString idText = picture["id"].toString();
    const QByteArray bytes = QByteArray::fromBase64(picture["data"].toString().toLatin1());
    const QUuid id(idText);
    // Checked because both become part of a file name.
    if ((type != "clip" && type != "chapter" && type != "preview") || (id.isNull() && !idText.isEmpty()))
        throw CFailure("the reply is not a picture");
    const QString name = id.isNull() ? type : type + '-' + id.toString(QUuid::WithoutBraces);
    Output::PrintLine(QStringLiteral("%1, %2 bytes").arg(name).arg(bytes.size()));
    if (bytes.isEmpty())
        return QStringLiteral("the picture %1 is empty").arg(name);
    if (!outFolder.isEmpty())
        Output::WriteFile(QDir(outFolder).filePath(name + ".jpg"), bytes);
    return {};
}

/// Prints each line of a log, escaped.
void PrintText(const QByteArray& text)
{
    const QList<QByteArray> lines = text.trimmed().split('\n');
    for (const QByteArray& line : lines)
        Output::PrintLine(PayloadText(line));
}

} // namespace

std::vector<int> CloudReplies::RoutesOf(unsigned int code)
{
    std::vector<int> routes;
    const auto promised = Contract::RepliesTo("cloud", code);
    for (const QJsonObject& reply : promised.value_or(std::vector<QJsonObject>()))
        routes.push_back(reply["route"].toInt());
    return routes;
}

CloudReplies::SReply CloudReplies::Show(const QByteArray& frame, const QString& outFolder)
{
    const QJsonDocument reply = ReadJson(frame);
    const int number = reply["route"].toInt(-1);
    const auto route = kRoutes.find(number);
    if (route == kRoutes.end() || !reply["data"].isString())
        throw CFailure(
            QStringLiteral("expected a reply with a known route and a text in \"data\", got %1 bytes of other data")
                .arg(frame.size()));

    const QByteArray data = reply["data"].toString().toUtf8();
    Output::PrintLine(QStringLiteral("<- %1 (route %2)").arg(route->second.name).arg(number));
    if (!route->second.file)
        return {number, ShowPicture(data, outFolder)};
    if (Output::PrintJson(data).isNull())
        PrintText(data);
    if (!outFolder.isEmpty())
        Output::WriteFile(QDir(outFolder).filePath(route->second.file), data);
    return {number, {}};
}
