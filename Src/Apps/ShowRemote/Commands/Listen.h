#pragma once

#include <chrono>
#include <optional>

class CEnvelopePeer;
class CCommandLine;

/// The word on the command line that replaces a request.
constexpr char kListen[] = "listen";
constexpr char kGoesWithListen[] = "can only be used with listen";

struct SListening {
    bool heartbeats = false;
    std::optional<std::chrono::milliseconds> duration; ///< none: until Ctrl-C
    std::chrono::milliseconds timeout{};               ///< for sending a heartbeat
};

/// Adds --seconds.
void AddListenOptions(CCommandLine& line);
/// Throws CWrongUsage if an option of listen is given.
void RefuseListenOptions(const CCommandLine& line);
/// Returns the values of --seconds and --timeout.
SListening ReadListening(const CCommandLine& line);

/// Prints the host's messages until Ctrl-C or the end of the duration; heartbeats keep an app logged in. Throws
/// CFailure if the host closes a channel or another app replaces this one.
void Listen(CEnvelopePeer& peer, const SListening& listening);
