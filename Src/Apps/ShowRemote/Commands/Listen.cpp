#include "ShowRemote/Commands/Listen.h"

#include "ExternalController/Common/Command.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"
#include "ShowRemote/Peers/Conversation.h"
#include "ShowRemote/Peers/EnvelopePeer.h"

#include <QTime>

namespace {

using Clock = CEnvelopePeer::Clock;

void Take(const SMessage& message)
{
    Terminal::PrintLine(QTime::currentTime().toString("hh:mm:ss.zzz"));
    Conversation::Show(message);
    if (message.code == Command::ReplyTo(Command::AppGone))
        throw CFailure("another app logged in and replaced this one");
}

} // namespace

void AddListenOptions(CCommandLine& line)
{
    line.AddOption({"seconds", "Stop listening after S seconds.", "S"});
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
    const auto end = listening.duration ? Clock::now() + *listening.duration : Clock::time_point::max();
    if (listening.heartbeats)
        peer.KeepAlive(Channel::Control, listening.timeout);
    peer.HeedInterrupt();
    Terminal::PrintLine("listening; Ctrl-C ends it");

    while (!peer.IsInterrupted() && Clock::now() < end) {
        if (const auto message = peer.Receive(end))
            Take(*message);
    }
}
