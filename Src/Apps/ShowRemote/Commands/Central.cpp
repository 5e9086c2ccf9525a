#include "ShowRemote/Commands/Commands.h"

#include "CentralControl/CentralControlConfig.h"
#include "Comm/PayloadText.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Keywords.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Contract.h"
#include "ShowRemote/Peers/Datagrams.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QByteArray ReadMessage(const CCommandLine& line)
{
    QByteArray json = line.Json();
    if (IsObject(line.Request()))
        return json;
    QJsonObject message = ReadJson(json).object();
    message["cmd"] = line.Request();
    return QJsonDocument(message).toJson(QJsonDocument::Compact);
}

/// Returns whether the host executes the command without an answer.
bool IsUnanswered(const QByteArray& datagram)
{
    const QString text = QString::fromUtf8(datagram);
    const QString keyword = IsObject(text) ? ReadJson(datagram)["cmd"].toString() : text;
    const auto known = CenterControlCmdMap.find(keyword);
    if (known == CenterControlCmdMap.end() || known->second == kNoCommand)
        return false;
    const auto replies = Contract::RepliesTo("central", static_cast<unsigned int>(known->second));
    return replies && replies->empty();
}

/// Prints the answer and returns the reason why it is a failure, or an empty text. The host answers a query with an
/// object and a command with a result text.
QString FaultOf(const QByteArray& answer)
{
    const QJsonDocument json = Output::PrintJson(answer);
    if (json.isObject())
        return Contract::RefusalOf(json["errorMsg"].toString());
    if (json.isNull())
        Output::PrintLine(PayloadText(answer));
    return answer.isEmpty() ? QStringLiteral("the answer is empty") : Contract::RefusalOf(QString::fromUtf8(answer));
}

} // namespace

int RunCentral(const QStringList& arguments)
{
    CCommandLine line("Send a text command as central control and show the answer.");
    line.AddArgument("KEYWORD", "A keyword from --list, or an object with the keyword in \"cmd\".");
    line.AddArgument("[JSON]", "An object with the command's other keys.");
    line.AddHostOption();
    line.AddTimeoutOption();
    line.AddOption({"raw", "Send TEXT unchanged and accept any answer.", "TEXT"});
    line.AddListOption("List all keywords and the codes of their commands. 0x000 marks a keyword without a command.",
                       {CenterControlCmdMap.begin(), CenterControlCmdMap.end()});
    if (!line.Parse(arguments))
        return kExitDone;

    const bool isRaw = line.IsSet("raw");
    if (isRaw)
        line.Positional(0, 0);
    const QByteArray datagram = isRaw ? line.Value("raw").toUtf8() : ReadMessage(line);
    const auto answer =
        Datagrams::Ask(line.Host(), CentralControl::kPort, datagram, line.Timeout(), IsUnanswered(datagram));
    if (!answer) {
        Output::PrintLine("sent; the host doesn't reply to this command");
        return kExitDone;
    }
    const QString fault = FaultOf(*answer);
    if (!isRaw && !fault.isEmpty())
        throw CFailure(fault);
    return kExitDone;
}
