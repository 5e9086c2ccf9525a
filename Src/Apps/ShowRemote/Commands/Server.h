#pragma once

#include "ShowRemote/Console/CommandLine.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

/// A remote controller to which the host connects: the cloud service or the FP controller. The functions throw CFailure
/// if they fail.
class IServer {
public:
    using Clock = std::chrono::steady_clock;

    virtual ~IServer() = default;

    /// Starts listening for the host.
    virtual void Open(const QString& address, std::uint16_t port) = 0;
    /// Waits for the host to connect and returns its name for the output, or no value if the deadline passes.
    virtual std::optional<QString> Accept(Clock::time_point deadline) = 0;
    /// Sends the request and shows the replies.
    virtual void Ask() = 0;
    /// Shows all messages of the host. \param duration none: until Ctrl-C
    virtual void Listen(std::optional<std::chrono::milliseconds> duration) = 0;
};

/// Adds the options of a command that waits for the host: --listen, --port and --timeout.
/// \param timeoutSeconds the default of --timeout
void AddServerOptions(CCommandLine& line, int defaultPort, const QString& timeoutSeconds);

/// Waits for the host to connect, then asks or listens as the command line says.
/// \param hostOption the option of showhost up to the address, for an error message
void RunServer(IServer& server, const CCommandLine& line, const QString& hostOption);
