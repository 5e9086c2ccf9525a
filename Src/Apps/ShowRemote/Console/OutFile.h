#pragma once

#include <QByteArray>
#include <QString>

/// Writes what a reply carries to a file and reports it on stdout. Throws CFailure; a file that could not be written
/// as a whole is removed.
void WriteOutFile(const QString& name, const QByteArray& bytes);
