#pragma once

#include <string>

namespace OperationLog {

/// Lines go to the end of this file from now on; nowhere when the name is empty. False when it can't be opened.
bool Open(const std::string& file);

} // namespace OperationLog
