#include "CloudControl/CloudCommand.h"

#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Keywords.h"

#include <QJsonDocument>

QJsonObject CloudCommand::Read(const QByteArray& frame, QString& refusal)
{
    QJsonObject command = ReadJson(frame).object();
    if (command.isEmpty()) {
        refusal = QStringLiteral("not a JSON object");
        return {};
    }
    const QJsonValue keyword = command.value(QLatin1String("cmd"));
    if (!keyword.isString()) {
        if (!command.value(QLatin1String("cmdType")).isDouble())
            refusal = QStringLiteral("cmd is not a string and cmdType is not a number");
        return refusal.isEmpty() ? command : QJsonObject();
    }
    const auto known = CloudControlCmdMap.find(keyword.toString());
    if (known == CloudControlCmdMap.end()) {
        refusal = QStringLiteral("unknown keyword");
        return {};
    }
    command.insert(QLatin1String("cmdType"), known->second);
    return command;
}

QString CloudCommand::Reply(int route, const std::string& data)
{
    const QJsonObject reply = {{"route", route}, {"data", QString::fromStdString(data)}};
    return QString::fromUtf8(QJsonDocument(reply).toJson(QJsonDocument::Compact));
}
