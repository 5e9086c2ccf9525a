#pragma once

#include <QString>

// Reports files that can't be written as warnings: the first failure in a row and the first success after it, not each.
// Any thread.
namespace WriteFailures {

void Failed(const QString& file, const QString& reason);
void Succeeded(const QString& file);

} // namespace WriteFailures
