#include "ShowRemote/Commands/Commands.h"

#include "CloudControl/CloudControlConfig.h"
#include "Comm/PayloadText.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Keywords.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Commands/CloudReplies.h"
#include "ShowRemote/Commands/Listen.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"
#include "ShowRemote/Peers/CloudPeer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTime>

#include <algorithm>

namespace {

using Clock = CCloudPeer::Clock;

constexpr char kCloudUsage[] =
    "Act as the cloud service: wait for the host to connect, send a command and show every reply. COMMAND is a keyword "
    "from --list, a name from showremote app --list or a code; JSON is an object with the command's other keys. An "
    "object with \"cmd\" or \"cmdType\" can replace both. If COMMAND is listen, show all messages of the host until "
    "Ctrl-C.";

/// A host that can't connect waits up to 30 s before the next attempt.
constexpr char kCloudTimeoutSeconds[] = "40";

struct SCloudCommand {
    unsigned int code = 0;
    QByteArray text;
};

void PrintCloudKeywords()
{
    for (const auto& [keyword, code] : CloudControlCmdMap)
        Terminal::PrintLine(QStringLiteral("0x%1  %2").arg(code, 3, 16, QLatin1Char('0')).arg(keyword));
}

void AddCloudOptions(CCommandLine& line)
{
    line.AddListenAddressOptions("the host", CloudControl::kDefaultPort);
    line.AddOption({"cert", "Use wss with the certificate in FILE (PEM) instead of ws.", "FILE"});
    line.AddOption({"key", "Read the certificate's private key from FILE (PEM).", "FILE"});
    line.AddOption({"out", "Write the contents of the replies to files in DIR.", "DIR"});
    line.AddOption({"list", "List all keywords and the codes of their commands."});
    line.AddTimeoutOption(kCloudTimeoutSeconds);
    AddListenOptions(line);
}

/// If the object has both a keyword and a code, the keyword has priority, as in the host.
SCloudCommand ReadObject(const QString& argument)
{
    SCloudCommand command;
    command.text = CheckedObject(argument);
    const QJsonDocument message = ReadJson(command.text);
    const auto known = CloudControlCmdMap.find(message["cmd"].toString());
    command.code = static_cast<unsigned int>(known != CloudControlCmdMap.end() ? known->second
                                                                               : message["cmdType"].toInt(kNoCommand));
    if (command.code == kNoCommand)
        throw CWrongUsage("JSON: expected a keyword from --list in \"cmd\" or a code in \"cmdType\"");
    return command;
}

SCloudCommand ReadCommand(const CCommandLine& line)
{
    const QStringList positional = line.Positional(1, 2);
    RefuseListenOptions(line);
    if (IsObject(positional[0])) {
        line.Positional(1, 1);
        return ReadObject(positional[0]);
    }
    QJsonObject message;
    if (positional.size() > 1)
        message = ReadJson(CheckedObject(positional[1])).object();

    SCloudCommand command;
    const auto known = CloudControlCmdMap.find(positional[0]);
    if (known != CloudControlCmdMap.end()) {
        command.code = static_cast<unsigned int>(known->second);
        message["cmd"] = positional[0];
    } else {
        command.code = AppRequests::CodeOf(positional[0]);
        message["cmdType"] = static_cast<int>(command.code);
    }
    command.text = QJsonDocument(message).toJson(QJsonDocument::Compact);
    return command;
}

void AwaitHost(CCloudPeer& peer, const CCommandLine& line)
{
    const QString address = line.ListenAddress();
    if (line.IsSet("cert") != line.IsSet("key"))
        throw CWrongUsage("--cert and --key can only be used together");
    const std::uint16_t port = line.ListenPort();
    peer.Listen(address, port, line.Value("cert"), line.Value("key"));
    Terminal::PrintLine(QStringLiteral("waiting for the host on %1:%2").arg(address).arg(port));
    const QString host = peer.Accept(Clock::now() + line.Timeout());
    Terminal::PrintLine(
        QStringLiteral("the host connected from %1 as %2").arg(host, PayloadText(peer.User().toUtf8())));
}

QString OutFolder(const CCommandLine& line)
{
    QString folder = line.Value("out");
    if (!folder.isEmpty() && !QDir().mkpath(folder))
        throw CFailure(QStringLiteral("can't create the folder %1").arg(folder));
    return folder;
}

void Ask(CCloudPeer& peer, const SCloudCommand& command, const QString& outFolder, std::chrono::milliseconds timeout)
{
    const auto deadline = Clock::now() + timeout;
    peer.Send(command.text);
    std::vector<int> expected = CloudReplies::RoutesOf(command.code);
    if (expected.empty()) {
        peer.Close(deadline);
        Terminal::PrintLine("sent; the host doesn't reply to this command");
        return;
    }
    QString fault;
    while (!expected.empty()) {
        const auto reply = peer.Receive(deadline);
        if (!reply)
            throw CFailure(QStringLiteral("no reply of route %1 within %2").arg(expected.front()).arg(TextOf(timeout)));
        const CloudReplies::SReply shown = CloudReplies::Show(*reply, outFolder);
        if (fault.isEmpty())
            fault = shown.fault;
        const auto found = std::find(expected.begin(), expected.end(), shown.route);
        if (found != expected.end())
            expected.erase(found);
    }
    if (!fault.isEmpty())
        throw CFailure(fault);
}

void ListenToHost(CCloudPeer& peer, const SListening& listening, const QString& outFolder)
{
    const auto end = listening.duration ? Clock::now() + *listening.duration : Clock::time_point::max();
    peer.HeedInterrupt();
    Terminal::PrintLine("listening; Ctrl-C ends it");
    while (const auto reply = peer.Receive(end)) {
        Terminal::PrintLine(QTime::currentTime().toString("hh:mm:ss.zzz"));
        CloudReplies::Show(*reply, outFolder);
    }
}

} // namespace

int RunCloud(const QStringList& arguments)
{
    CCommandLine line("COMMAND [JSON]", kCloudUsage);
    AddCloudOptions(line);
    if (!line.Parse(arguments))
        return kExitDone;
    if (line.IsSet("list")) {
        line.Positional(0, 0);
        PrintCloudKeywords();
        return kExitDone;
    }

    CCloudPeer peer;
    if (line.Positional(1, 2).first() == kListen) {
        line.Positional(1, 1);
        const SListening listening = ReadListening(line);
        AwaitHost(peer, line);
        ListenToHost(peer, listening, OutFolder(line));
    } else {
        const SCloudCommand command = ReadCommand(line);
        AwaitHost(peer, line);
        Ask(peer, command, OutFolder(line), line.Timeout());
    }
    return kExitDone;
}
