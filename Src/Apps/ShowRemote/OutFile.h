#pragma once

#include <QByteArray>
#include <QString>

/// Writes what a reply carries and tells so. Throws CFailure.
void WriteOutFile(const QString& name, const QByteArray& bytes);
