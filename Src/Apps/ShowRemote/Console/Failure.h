#pragma once

#include <QString>

#include <stdexcept>

/// What the program ends with; scripts rely on it.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,
    kExitWrongUsage = 2,
};

/// The longest text of a host's that an error message repeats.
constexpr int kMaxShownCharacters = 200;

/// A command could not do what it was asked to. The text is for the person at the terminal.
class CFailure : public std::runtime_error {
public:
    explicit CFailure(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// The command line makes no sense.
class CWrongUsage : public std::runtime_error {
public:
    explicit CWrongUsage(const QString& text) : std::runtime_error(text.toStdString()) {}
};
