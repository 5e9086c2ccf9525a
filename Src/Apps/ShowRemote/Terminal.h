#pragma once

#include <QByteArray>
#include <QString>

namespace Terminal {

/// Writes a line to stdout at once, so that whoever reads the pipe sees it when it happens. UTF-8 whatever the locale.
void PrintLine(const QString& line);
/// Writes a JSON text in its indented form, and returns true; writes nothing when it is none.
bool PrintJson(const QByteArray& text);

void PrintError(const QString& line);
/// Replaces the line on stderr that was written this way before; an empty one only removes it.
void ShowProgress(const QString& line);
bool IsErrorOnTerminal();

} // namespace Terminal
