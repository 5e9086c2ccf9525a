#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

/// Standard output and standard error, in UTF-8 whatever the locale. Not thread-safe.
namespace Terminal {

/// Must be called before the first file or socket is opened. A standard stream that the caller closed would otherwise
/// share its descriptor with the first socket, and output would be sent to the host.
void ReserveStandardStreams();

/// Writes a line to stdout at once, so that the reader of a pipe sees it when it happens. Text that a host sent must be
/// passed through PayloadText first. Throws CFailure if the line can't be written.
void PrintLine(const QString& line);
/// Writes a JSON text to stdout, indented, with control characters escaped, and returns what it holds. Writes nothing
/// and returns a null document if the text isn't JSON. Throws CFailure if the text can't be written.
QJsonDocument PrintJson(const QByteArray& text);

/// Failures to write to stderr are ignored here and below.
void PrintError(const QString& line);
/// Replaces the line on stderr that was written this way before; an empty one only removes it.
void ShowProgress(const QString& line);
bool IsErrorOnTerminal();

} // namespace Terminal
