#pragma once

#include "ShowRemote/Console/Output.h"

#include <QTime>

#include <chrono>
#include <optional>

/// Shows the host's messages, each after the time of its arrival, until Ctrl-C or the end of the duration. Throws
/// CFailure if the host closes a channel.
/// \param peer     a CEnvelopePeer or a CCloudPeer
/// \param duration none: until Ctrl-C
/// \param show     called with each message
template <class Peer, class Show>
void Listen(Peer& peer, std::optional<std::chrono::milliseconds> duration, Show&& show)
{
    using Clock = typename Peer::Clock;
    const auto end = duration ? Clock::now() + *duration : Clock::time_point::max();
    peer.HeedInterrupt();
    Output::PrintLine("listening; Ctrl-C ends it");
    while (const auto message = peer.Receive(end)) {
        Output::PrintLine(QTime::currentTime().toString("hh:mm:ss.zzz"));
        show(*message);
    }
}
