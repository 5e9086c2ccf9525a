#pragma once

#include <QByteArray>
#include <QString>

/// Writes bytes to a file and prints its name to standard output. If it can't write all of them, it removes the file
/// and throws CFailure.
void WriteOutFile(const QString& name, const QByteArray& bytes);
