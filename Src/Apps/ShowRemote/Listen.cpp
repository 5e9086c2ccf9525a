#include "ShowRemote/Listen.h"

#include "ExternalController/Common/Command.h"
#include "ShowRemote/AppClient.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Conversation.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

#include <QTime>

#include <algorithm>

namespace {

using Clock = CAppClient::Clock;

/// The host takes an app for dead that is silent for five seconds.
constexpr std::chrono::seconds kHeartbeatPeriod(1);

void Take(const SAppMessage& message)
{
    if (message.code == Command::ReplyTo(Command::Heartbeat))
        return;
    Terminal::PrintLine(QTime::currentTime().toString("hh:mm:ss.zzz"));
    Conversation::Show(message);
    if (message.code == Command::ReplyTo(Command::AppGone))
        throw CFailure("another app has taken this one's place");
}

} // namespace

void AddListenOptions(CCommandLine& line)
{
    line.AddOption({"seconds", "Ends listening after S seconds.", "S"});
    line.AddOption({"no-heartbeat", "Listens without the heartbeats that keep a login alive."});
}

void RefuseListenOptions(const CCommandLine& line)
{
    line.Refuse({"seconds", "no-heartbeat"}, "goes with listen");
}

SListening ReadListening(const CCommandLine& line)
{
    SListening listening;
    listening.heartbeats = !line.IsSet("no-heartbeat");
    listening.timeout = line.Timeout();
    if (line.IsSet("seconds"))
        listening.duration = line.Seconds("seconds");
    return listening;
}

void Listen(CAppClient& client, const SListening& listening)
{
    const auto start = Clock::now();
    const auto end = listening.duration ? start + *listening.duration : Clock::time_point::max();
    auto nextHeartbeat = listening.heartbeats ? start : Clock::time_point::max();
    client.HeedInterrupt();
    Terminal::PrintLine("listening; Ctrl-C ends it");

    while (!client.IsInterrupted() && Clock::now() < end) {
        if (Clock::now() >= nextHeartbeat) {
            client.Send(AppServer::Control, Command::Heartbeat, {}, Clock::now() + listening.timeout);
            nextHeartbeat = Clock::now() + kHeartbeatPeriod;
        }
        if (const auto message = client.Receive(std::min(end, nextHeartbeat)))
            Take(*message);
    }
}
