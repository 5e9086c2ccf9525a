#pragma once

#include <chrono>
#include <optional>

class CEnvelopePeer;
class CCommandLine;

/// What stands for a request on the command line.
constexpr char kListen[] = "listen";
constexpr char kGoesWithListen[] = "goes with listen";

struct SListening {
    bool heartbeats = false;
    std::optional<std::chrono::milliseconds> duration; ///< without one until Ctrl-C
    std::chrono::milliseconds timeout{};               ///< for sending a heartbeat
};

void AddListenOptions(CCommandLine& line);
/// None of the options of listening may be given.
void RefuseListenOptions(const CCommandLine& line);
SListening ReadListening(const CCommandLine& line);

/// Shows what the host tells until Ctrl-C or the end of the duration; heartbeats keep an app's login alive meanwhile.
/// That the host closes or another app takes this one's place is thrown as CFailure.
void Listen(CEnvelopePeer& peer, const SListening& listening);
