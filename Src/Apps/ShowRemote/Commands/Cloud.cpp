#include "ShowRemote/Commands/Commands.h"

#include "CloudControl/CloudControlConfig.h"
#include "Comm/PayloadText.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Keywords.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Commands/CloudReplies.h"
#include "ShowRemote/Commands/Listen.h"
#include "ShowRemote/Commands/Server.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Peers/CloudPeer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

/// A host that can't connect waits up to 30 s before the next attempt.
constexpr char kCloudTimeoutSeconds[] = "40";

struct SCloudCommand {
    unsigned int code = 0;
    QByteArray text;
};

/// Returns the code of a message, or kNoCommand. A keyword overrides a code, as in the host.
int CodeOf(const QJsonObject& message)
{
    const auto known = CloudControlCmdMap.find(message["cmd"].toString());
    return known != CloudControlCmdMap.end() ? known->second : message["cmdType"].toInt(kNoCommand);
}

SCloudCommand ReadCommand(const CCommandLine& line)
{
    const QString request = line.Request();
    SCloudCommand command;
    command.text = line.Json();
    QJsonObject message = ReadJson(command.text).object();
    if (IsObject(request)) {
        if (CodeOf(message) == kNoCommand)
            throw CWrongUsage("JSON: expected a keyword from --list in \"cmd\" or a code in \"cmdType\"");
    } else {
        if (CloudControlCmdMap.count(request) != 0)
            message["cmd"] = request;
        else
            message["cmdType"] = static_cast<int>(AppRequests::CodeOf(request));
        command.text = QJsonDocument(message).toJson(QJsonDocument::Compact);
    }
    command.code = static_cast<unsigned int>(CodeOf(message));
    return command;
}

class CCloudService final : public IServer {
public:
    CCloudService(SCloudCommand command, const CCommandLine& line)
        : m_command(std::move(command))
        , m_timeout(line.Timeout())
        , m_outFolder(line.Value("out"))
        , m_certificateFile(line.Value("cert"))
        , m_keyFile(line.Value("key"))
    {}

    void Open(const QString& address, std::uint16_t port) override
    {
        if (!m_outFolder.isEmpty() && !QDir().mkpath(m_outFolder))
            throw CFailure(QStringLiteral("can't create the folder %1").arg(m_outFolder));
        m_peer.Listen(address, port, m_certificateFile, m_keyFile);
    }

    std::optional<QString> Accept(Clock::time_point deadline) override
    {
        const auto address = m_peer.Accept(deadline);
        if (!address)
            return std::nullopt;
        return QStringLiteral("%1 as %2").arg(*address, PayloadText(m_peer.User().toUtf8()));
    }

    void Ask() override;

    void Listen(std::optional<std::chrono::milliseconds> duration) override
    {
        ::Listen(m_peer, duration, [this](const QByteArray& frame) { CloudReplies::Show(frame, m_outFolder); });
    }

private:
    const SCloudCommand m_command;
    const std::chrono::milliseconds m_timeout;
    const QString m_outFolder;
    const QString m_certificateFile;
    const QString m_keyFile;
    CCloudPeer m_peer;
};

void CCloudService::Ask()
{
    const auto deadline = Clock::now() + m_timeout;
    m_peer.Send(m_command.text);
    std::vector<int> expected = CloudReplies::RoutesOf(m_command.code);
    if (expected.empty()) {
        m_peer.Close(deadline);
        Output::PrintLine("sent; the host doesn't reply to this command");
        return;
    }
    QString fault;
    while (!expected.empty()) {
        const auto reply = m_peer.Receive(deadline);
        if (!reply)
            throw CFailure(
                QStringLiteral("no reply of route %1 within %2").arg(expected.front()).arg(TextOf(m_timeout)));
        const CloudReplies::SReply shown = CloudReplies::Show(*reply, m_outFolder);
        if (fault.isEmpty())
            fault = shown.fault;
        const auto found = std::find(expected.begin(), expected.end(), shown.route);
        if (found != expected.end())
            expected.erase(found);
    }
    if (!fault.isEmpty())
        throw CFailure(fault);
}

} // namespace

int RunCloud(const QStringList& arguments)
{
    CCommandLine line("Act as the cloud service: wait for the host to connect, send a command and show every reply.");
    AddServerOptions(line, CloudControl::kDefaultPort, kCloudTimeoutSeconds);
    line.AddRequestOrListen("COMMAND", "A keyword from --list, a name from showremote app --list, a code such as 22 or "
                                       "0x16, or an object with \"cmd\" or \"cmdType\".");
    line.AddArgument("[JSON]", "An object with the command's other keys.");
    line.AddOption({"cert", "Use wss with the certificate in FILE (PEM) instead of ws.", "FILE"});
    line.AddOption({"key", "Read the certificate's private key from FILE (PEM).", "FILE"});
    line.AddOption({"out", "Write the contents of the replies to files in DIR.", "DIR"});
    line.AddListOption("List all keywords and the codes of their commands.",
                       {CloudControlCmdMap.begin(), CloudControlCmdMap.end()});
    if (!line.Parse(arguments))
        return kExitDone;
    if (line.IsSet("cert") != line.IsSet("key"))
        throw CWrongUsage("--cert and --key can only be used together");
    CCloudService service(line.IsListen() ? SCloudCommand{} : ReadCommand(line), line);
    RunServer(service, line, line.IsSet("cert") ? "--cloud wss://" : "--cloud ws://");
    return kExitDone;
}
