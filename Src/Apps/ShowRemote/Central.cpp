#include "ShowRemote/Central.h"

#include "CentralControl/CentralControlConfig.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Datagrams.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

void PrintKeywords()
{
    for (const auto& [keyword, code] : CenterControlCmdMap)
        Terminal::PrintLine(QStringLiteral("0x%1  %2").arg(code, 3, 16, QLatin1Char('0')).arg(keyword));
}

QByteArray ReadMessage(const CCommandLine& line)
{
    const QStringList positional = line.Positional(1, 2);
    QJsonObject message;
    if (positional.size() > 1)
        message = ReadJson(CheckedObject(positional[1])).object();
    message["cmd"] = positional[0];
    return QJsonDocument(message).toJson(QJsonDocument::Compact);
}

/// What the answer says of the command's fate: an answer in JSON in "errorMsg", one without with all its text.
QString FateOf(const QByteArray& answer)
{
    const QJsonDocument json = ReadJson(answer);
    return json.isNull() ? QString::fromUtf8(answer) : json["errorMsg"].toString();
}

bool IsRefusal(const QString& fate)
{
    return std::any_of(ResultTextMap.begin(), ResultTextMap.end(), [&](const auto& result) {
        return result.first != ResultText::Success && result.first != ResultText::End &&
               fate == QString::fromStdString(result.second);
    });
}

} // namespace

int RunCentral(const QStringList& arguments)
{
    CCommandLine line("KEYWORD [JSON]",
                      "Sends a text command as a central-control system would and shows the answer. KEYWORD is one of "
                      "--list, JSON an object with what belongs to it.");
    line.AddHostOption();
    line.AddTimeoutOption();
    line.AddOption({"raw", "Sends TEXT as it is instead of a command.", "TEXT"});
    line.AddOption({"list", "Tells all keywords, with the code of their command; 0x000 has none."});
    if (!line.Parse(arguments))
        return kExitDone;
    if (line.IsSet("list")) {
        line.Positional(0, 0);
        PrintKeywords();
        return kExitDone;
    }

    const bool isRaw = line.IsSet("raw");
    if (isRaw)
        line.Positional(0, 0);
    const QByteArray datagram = isRaw ? line.Value("raw").toUtf8() : ReadMessage(line);
    const QByteArray answer = Datagrams::Ask(line.Host(), CentralControl::kPort, datagram, line.Timeout());
    if (!Terminal::PrintJson(answer))
        Terminal::PrintLine(QString::fromUtf8(answer));
    if (!isRaw && IsRefusal(FateOf(answer)))
        throw CFailure("the host refused it: " + FateOf(answer));
    return kExitDone;
}
