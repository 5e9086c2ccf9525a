#include "ShowRemote/App.h"

#include "ExternalController/Common/CommandNames.h"
#include "ShowRemote/AppClient.h"
#include "ShowRemote/AppRequests.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

#include <QFile>
#include <QJsonDocument>
#include <QUuid>

#include <algorithm>
#include <vector>

namespace {

using Clock = CAppClient::Clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

struct SRequest {
    unsigned int code = 0;
    QByteArray body;
    AppServer::Channel channel = AppServer::Control;
    std::chrono::milliseconds timeout{};
    QString outFile; ///< for bytes that replies carry; may be empty
};

QByteArray CheckedBody(const QString& text)
{
    QByteArray body = text.toUtf8();
    QJsonParseError error;
    const QJsonDocument json = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError) {
        // Qt tells how far it got: the offending character or the one behind it.
        const int character = std::max(1, QString::fromUtf8(body.left(error.offset)).size());
        throw CWrongUsage(QStringLiteral("JSON, near character %1: %2").arg(character).arg(error.errorString()));
    }
    if (!json.isObject())
        throw CWrongUsage("JSON, near character 1: a request's body is an object, {...}");
    return body;
}

void WriteFile(const QString& name, const QByteArray& bytes)
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        throw CFailure(QStringLiteral("can't write %1: %2").arg(name, file.errorString()));
    Terminal::PrintLine(QStringLiteral("written to %1").arg(name));
}

/// Prints a body of the id form; false when it is none.
bool PrintIdForm(const QByteArray& body, const QString& outFile)
{
    constexpr auto kHeaderBytes = static_cast<int>(Envelope::kIdHeaderBytes);
    constexpr auto kMarkBytes = static_cast<int>(Envelope::kMarkBytes);
    if (!body.startsWith(Envelope::kIdMark) || body.size() < kHeaderBytes)
        return false;
    const QByteArray bytes = body.mid(kHeaderBytes);
    const std::uint32_t length = Envelope::ReadNumber(body.constData() + kHeaderBytes - 4);
    if (length != static_cast<std::uint32_t>(bytes.size()))
        throw CFailure(QStringLiteral("the reply claims %1 bytes and carries %2").arg(length).arg(bytes.size()));
    const QUuid id = QUuid::fromRfc4122(body.mid(kMarkBytes, 16));
    Terminal::PrintLine(QStringLiteral("id %1, %2 bytes").arg(id.toString(QUuid::WithoutBraces)).arg(bytes.size()));
    if (!outFile.isEmpty())
        WriteFile(outFile, bytes);
    return true;
}

void Print(const SAppMessage& message, const QString& outFile)
{
    Terminal::PrintLine(QStringLiteral("<- %1 on %2").arg(AppRequests::TextOf(message.code), NameOf(message.channel)));
    if (message.body.isEmpty())
        Terminal::PrintLine("no body");
    else if (!PrintIdForm(message.body, outFile) && !Terminal::PrintJson(message.body))
        Terminal::PrintLine(QStringLiteral("%1 bytes that are no JSON").arg(message.body.size()));
}

void ConnectBoth(CAppClient& client, const QString& host, std::chrono::milliseconds timeout)
{
    client.Connect(AppServer::Control, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("control channel open: %1:%2").arg(host).arg(AppServer::kControlPort));
    client.Connect(AppServer::Bulk, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("bulk channel open: %1:%2").arg(host).arg(AppServer::kBulkPort));
}

/// Sends a request and shows what comes until all that is expected has come; returns how long that took.
Milliseconds Ask(CAppClient& client, const SRequest& request)
{
    const auto start = Clock::now();
    const auto deadline = start + request.timeout;
    client.Send(request.channel, request.code, request.body, deadline);

    std::vector<unsigned int> expected = AppRequests::RepliesTo(request.code);
    while (!expected.empty()) {
        const auto message = client.Receive(deadline);
        if (!message)
            throw CFailure(QStringLiteral("no reply %1 within %2")
                               .arg(AppRequests::TextOf(expected.front()), TextOf(request.timeout)));
        Print(*message, request.outFile);
        const auto found = std::find(expected.begin(), expected.end(), message->code);
        if (found != expected.end())
            expected.erase(found);
    }
    return Clock::now() - start;
}

void PrintSummary(std::vector<Milliseconds> durations, int wanted)
{
    QString text = QStringLiteral("%1 of %2 requests answered").arg(durations.size()).arg(wanted);
    if (!durations.empty()) {
        std::sort(durations.begin(), durations.end());
        text += QStringLiteral("; least %1 ms, median %2 ms, most %3 ms")
                    .arg(durations.front().count(), 0, 'f', 2)
                    .arg(durations[durations.size() / 2].count(), 0, 'f', 2)
                    .arg(durations.back().count(), 0, 'f', 2);
    }
    Terminal::PrintLine(text);
}

/// Ends at the first request that is not answered: a late reply would be taken for the next one's.
void AskRepeatedly(CAppClient& client, const SRequest& request, int count)
{
    std::vector<Milliseconds> durations;
    try {
        while (durations.size() < static_cast<std::size_t>(count))
            durations.push_back(Ask(client, request));
    } catch (const CFailure&) {
        PrintSummary(std::move(durations), count);
        throw;
    }
    PrintSummary(std::move(durations), count);
}

void PrintNames()
{
    for (const Command::SName& entry : Command::kNames)
        Terminal::PrintLine(QStringLiteral("0x%1  %2").arg(int{entry.code}, 3, 16, QLatin1Char('0')).arg(entry.name));
}

} // namespace

int RunApp(const QStringList& arguments)
{
    CCommandLine line("REQUEST [JSON]",
                      "Sends a request as the mobile app would and shows every reply. REQUEST is a name of --list or a "
                      "code such as 5 or 0x5, JSON its body.");
    line.AddHostOption();
    line.AddTimeoutOption();
    line.AddOption({"bulk", "Sends on the bulk channel instead of the control channel."});
    line.AddOption({"count", "Sends the request N times, one after the other.", "N", "1"});
    line.AddOption({"out", "Writes the bytes that a reply carries to FILE.", "FILE"});
    line.AddOption({"list", "Tells the names of all requests."});
    if (!line.Parse(arguments))
        return kExitDone;
    if (line.IsSet("list")) {
        line.Positional(0, 0);
        PrintNames();
        return kExitDone;
    }

    const QStringList positional = line.Positional(1, 2);
    SRequest request;
    request.code = AppRequests::CodeOf(positional[0]);
    if (positional.size() > 1)
        request.body = CheckedBody(positional[1]);
    request.channel = line.IsSet("bulk") ? AppServer::Bulk : AppServer::Control;
    request.timeout = line.Timeout();
    request.outFile = line.Value("out");
    const int count = line.Number("count", 1);

    CAppClient client(line.Host());
    ConnectBoth(client, line.Host(), request.timeout);
    if (count == 1)
        Ask(client, request);
    else
        AskRepeatedly(client, request, count);
    return kExitDone;
}
