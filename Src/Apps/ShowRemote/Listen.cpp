#include "ShowRemote/Listen.h"

#include "ExternalController/Common/Command.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Conversation.h"
#include "ShowRemote/EnvelopePeer.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

#include <QTime>

#include <algorithm>

namespace {

using Clock = CEnvelopePeer::Clock;

/// The host takes an app for dead that is silent for five seconds.
constexpr std::chrono::seconds kHeartbeatPeriod(1);

void Take(const SMessage& message)
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
}

void RefuseListenOptions(const CCommandLine& line)
{
    line.Refuse({"seconds"}, kGoesWithListen);
}

SListening ReadListening(const CCommandLine& line)
{
    SListening listening;
    listening.timeout = line.Timeout();
    if (line.IsSet("seconds"))
        listening.duration = line.Seconds("seconds");
    return listening;
}

void Listen(CEnvelopePeer& peer, const SListening& listening)
{
    const auto start = Clock::now();
    const auto end = listening.duration ? start + *listening.duration : Clock::time_point::max();
    auto nextHeartbeat = listening.heartbeats ? start : Clock::time_point::max();
    peer.HeedInterrupt();
    Terminal::PrintLine("listening; Ctrl-C ends it");

    while (!peer.IsInterrupted() && Clock::now() < end) {
        if (Clock::now() >= nextHeartbeat) {
            peer.Send(Channel::Control, Command::Heartbeat, {}, Clock::now() + listening.timeout);
            nextHeartbeat = Clock::now() + kHeartbeatPeriod;
        }
        if (const auto message = peer.Receive(std::min(end, nextHeartbeat)))
            Take(*message);
    }
}
