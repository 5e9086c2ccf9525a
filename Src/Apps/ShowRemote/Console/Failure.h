#pragma once

#include <QString>

#include <stdexcept>

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
