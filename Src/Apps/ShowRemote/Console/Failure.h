#pragma once

#include <QString>

#include <cstdint>
#include <stdexcept>
#include <system_error>

/// The program's exit codes. Scripts depend on the values.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,
    kExitWrongUsage = 2,
};

/// The maximum length, in characters, of a text from the host that an error message contains.
constexpr int kMaxShownCharacters = 200;

/// Thrown if a command fails. main() prints the text.
class CFailure : public std::runtime_error {
public:
    explicit CFailure(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// Thrown if the command line is not valid. main() prints the text.
class CWrongUsage : public std::runtime_error {
public:
    explicit CWrongUsage(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// Returns "HOST:PORT", for an IPv6 address "[HOST]:PORT".
QString AddressText(const QString& host, std::uint16_t port);
/// Returns the system's text for an error, with a lower-case first letter.
QString ReasonOf(const std::error_code& error);

// The failures of all commands that use the network.
CFailure CantConnect(const QString& host, std::uint16_t port, const std::error_code& error);
CFailure CantListen(const QString& address, std::uint16_t port, const QString& reason);
CFailure CantResolve(const QString& host);
