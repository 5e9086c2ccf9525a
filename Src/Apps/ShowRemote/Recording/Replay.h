#pragma once

#include "ShowRemote/Recording/Recording.h"

#include <QSet>
#include <QString>

#include <chrono>

struct SReplayOptions {
    QString host;
    QString listen;     ///< IP address that the host connects to as FP controller and cloud service
    double speed = 1;   ///< divides the pauses between the messages; 0: no pauses
    QSet<int> channels; ///< values of TrafficChannel; empty: all
    bool strict = false;
    QString user;                        ///< for logins; empty: the recorded one
    QString password;                    ///< for logins
    std::chrono::milliseconds timeout{}; ///< for a reply, and for the host to connect
};

/// Whether a replay of these channels logs in, which needs a password.
bool HasLogin(const SRecording& recording, const SReplayOptions& options);

/// Sends the messages of the remotes to a host, as they were recorded, and compares its replies with the recorded ones.
/// Prints each difference and a summary. Each message is sent after the replies that were recorded before it. Throws
/// CFailure if a connection fails.
/// \return the number of differences
int Replay(const SRecording& recording, const SReplayOptions& options);
