#pragma once

#include <QString>

// Logs warnings about files that can't be written: the first of consecutive failures and the first success after it.
// Any thread.
namespace WriteFailures {

/// Reports that writing the file has failed.
void Failed(const QString& file, const QString& reason);
/// Reports that writing the file has succeeded.
void Succeeded(const QString& file);

} // namespace WriteFailures
