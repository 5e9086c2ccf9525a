#pragma once

#include <chrono>
#include <optional>

class CAppClient;
class CCommandLine;

struct SListening {
    bool heartbeats = true;
    std::optional<std::chrono::milliseconds> duration; ///< without one until Ctrl-C
    std::chrono::milliseconds timeout{};               ///< for sending a heartbeat
};

void AddListenOptions(CCommandLine& line);
/// None of the options of listening may be given.
void RefuseListenOptions(const CCommandLine& line);
SListening ReadListening(const CCommandLine& line);

/// Shows what the host tells until Ctrl-C or the end of the duration, and keeps the login alive meanwhile. That the
/// host closes or another app takes this one's place is thrown as CFailure.
void Listen(CAppClient& client, const SListening& listening);
