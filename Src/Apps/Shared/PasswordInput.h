#pragma once

#include <QString>

#include <stdexcept>

/// Thrown if no password can be read. The text is an error message for the user.
class CNoPassword : public std::runtime_error {
public:
    explicit CNoPassword(const QString& text) : std::runtime_error(text.toStdString()) {}
};

/// Reads passwords without showing them on the terminal. A password is one line in UTF-8; the functions don't read past
/// its end. They throw CNoPassword if no line can be read.
namespace PasswordInput {

/// Prints a prompt to standard error and reads a password from standard input, which may be a pipe. Not thread-safe.
QString Ask(const char* prompt);
/// Reads a password from an open descriptor, which the caller keeps and closes.
QString ReadFrom(int fileDescriptor);

} // namespace PasswordInput
