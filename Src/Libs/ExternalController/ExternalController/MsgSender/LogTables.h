#pragma once

#include "Interfaces/LogModel.h"

#include <string>

// These functions return the show log as comma-separated lines in UTF-8, with a header line. Fields are written without
// quotes or escapes, even if they contain a comma or a line break.

std::string PlayLogTable(const QList<SPlayRecord>& records);
/// Each line has the source of the operation between function and description. The header has no column for it: the
/// cloud expects the table in this form.
std::string OperationLogTable(const QList<SOPRecord>& records);
