#pragma once

#include <QString>

#include <stdexcept>

/// A password that can't be had. The text is for the person at the terminal.
class CNoPassword : public std::runtime_error {
public:
    explicit CNoPassword(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// Reads passwords without showing them. A password is one line in UTF-8; what follows it is left unread. Throws
/// CNoPassword.
namespace PasswordInput {

/// Asks on standard error and reads standard input, which may be a pipe. Don't call from two threads.
QString Ask(const char* prompt);
QString ReadFrom(int fileDescriptor);

} // namespace PasswordInput
