#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

/// Standard output and standard error, in UTF-8 whatever the locale, and the files of --out. Not thread-safe.
namespace Output {

/// Opens /dev/null for each standard stream that is closed. Call this before the first file or socket is opened: a
/// socket could otherwise get the descriptor of a standard stream, and output would be sent to the host.
void ReserveStandardStreams();

/// Writes a line to stdout and flushes it. Pass text that a host sent through PayloadText first. Throws CFailure if the
/// line can't be written.
void PrintLine(const QString& line);
/// Parses a JSON text, writes it to stdout, indented and with control characters escaped, and returns the document.
/// Writes nothing and returns a null document if the text isn't JSON. Throws CFailure if the text can't be written.
QJsonDocument PrintJson(const QByteArray& text);
/// Writes bytes to a file and prints its name to stdout. If it can't write all of them, it removes the file and throws
/// CFailure.
void WriteFile(const QString& name, const QByteArray& bytes);

/// Writes a line to stderr. Ignores write errors.
void PrintError(const QString& line);
/// Replaces the progress line on stderr; an empty text removes it. Ignores write errors.
void ShowProgress(const QString& line);
/// Returns whether stderr is a terminal.
bool IsErrorOnTerminal();

} // namespace Output
