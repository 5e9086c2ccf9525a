#include "ShowRemote/Commands/Commands.h"

#include "ExternalController/Common/CommandNames.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Commands/Listen.h"
#include "ShowRemote/Commands/Login.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Peers/EnvelopePeer.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

void PrintSummary(std::vector<Milliseconds> durations, int wanted)
{
    QString text = QStringLiteral("%1 of %2 requests answered").arg(durations.size()).arg(wanted);
    if (!durations.empty()) {
        std::sort(durations.begin(), durations.end());
        text += QStringLiteral("; minimum %1 ms, median %2 ms, maximum %3 ms")
                    .arg(durations.front().count(), 0, 'f', 2)
                    .arg(durations[durations.size() / 2].count(), 0, 'f', 2)
                    .arg(durations.back().count(), 0, 'f', 2);
    }
    Output::PrintLine(text);
}

/// Stops at the first request without a reply: a late reply would be matched with the next request.
void AskRepeatedly(CEnvelopePeer& peer, const SRequest& request, int count)
{
    std::vector<Milliseconds> durations;
    try {
        while (durations.size() < static_cast<std::size_t>(count)) {
            const auto start = CEnvelopePeer::Clock::now();
            AppRequests::Ask(peer, request);
            durations.push_back(CEnvelopePeer::Clock::now() - start);
        }
    } catch (const CFailure&) {
        PrintSummary(std::move(durations), count);
        throw;
    }
    PrintSummary(std::move(durations), count);
}

std::vector<std::pair<QString, int>> RequestNames()
{
    std::vector<std::pair<QString, int>> names;
    for (const Command::SName& entry : Command::kNames)
        names.emplace_back(entry.name, entry.code);
    return names;
}

void AddOptions(CCommandLine& line)
{
    line.AddHostOption();
    line.AddTimeoutOption();
    line.AddOption({"bulk", "Send on the bulk channel instead of the control channel."});
    line.AddOption({"count", "Send the request N times, each after the previous reply.", "N", "1"});
    line.AddOption({"out", "Write the picture in the reply to FILE.", "FILE"});
    line.AddListOption("List the codes and names of all requests.", RequestNames());
    AddLoginOptions(line);
    line.AddRequestOrListen("REQUEST", "A name from --list or a code such as 5 or 0x5.");
    line.AddArgument("[JSON]", "The body of the request, an object.");
    line.AddOption({"no-heartbeat", "Send no heartbeats while listening; the host then logs the app out."});
}

SRequest ReadRequest(const CCommandLine& line)
{
    SRequest request = AppRequests::Read(line, line.IsSet("bulk") ? Channel::Bulk : Channel::Control);
    request.outFile = line.Value("out");
    return request;
}

/// Rejects JSON and the options of a request. For listen and login, which send no other request.
void RefuseRequestOptions(const CCommandLine& line)
{
    line.Positional(1, 1);
    line.Refuse({"bulk", "count", "out"}, "can only be used with a request");
}

void ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout)
{
    // In this order the host has accepted the bulk connection when a request arrives whose reply is sent on it.
    for (const Channel channel : {Channel::Bulk, Channel::Control}) {
        const std::uint16_t port = peer.Connect(channel, host, CEnvelopePeer::Clock::now() + timeout);
        Output::PrintLine(QStringLiteral("%1 channel open: %2").arg(NameOf(channel), AddressText(host, port)));
    }
}

} // namespace

int RunApp(const QStringList& arguments)
{
    CCommandLine line("Send a request as the mobile app and show every reply.");
    AddOptions(line);
    if (!line.Parse(arguments))
        return kExitDone;

    const bool listens = line.IsListen();
    const bool logsIn = line.IsSet("user");
    const SRequest request = listens ? SRequest{} : ReadRequest(line);
    const bool asks = !listens && !(logsIn && request.code == Command::Login);
    if (!asks)
        RefuseRequestOptions(line);
    if (!listens)
        line.Refuse({"no-heartbeat"}, kOnlyWithListen);
    if (!logsIn)
        RefuseLoginOptions(line);
    const int count = line.Number("count", 1);
    const auto duration = line.Duration();
    const std::chrono::milliseconds timeout = line.Timeout();
    const SCredentials credentials = logsIn ? ReadCredentials(line) : SCredentials{};

    CEnvelopePeer peer;
    ConnectBoth(peer, line.Host(), timeout);
    if (logsIn)
        LogIn(peer, credentials, timeout);
    // The host handles the requests of one channel in sequence, so a slow request would delay heartbeats on that
    // channel.
    if (logsIn && asks)
        peer.KeepAlive(request.channel == Channel::Bulk ? Channel::Control : Channel::Bulk, timeout);
    if (listens && !line.IsSet("no-heartbeat"))
        peer.KeepAlive(Channel::Control, timeout);
    if (listens)
        Listen(peer, duration, AppRequests::Show);
    else if (asks && count == 1)
        AppRequests::Ask(peer, request);
    else if (asks)
        AskRepeatedly(peer, request, count);
    return kExitDone;
}
