#pragma once

#include "Interfaces/LogModel.h"

#include <string>

// The show log as comma-separated lines in UTF-8 below a header line. Fields are written as they are: a comma or a line
// break in one isn't marked.

std::string PlayLogTable(const QList<SPlayRecord>& records);
/// A line has the source between function and description; the header doesn't know that column.
std::string OperationLogTable(const QList<SOPRecord>& records);
