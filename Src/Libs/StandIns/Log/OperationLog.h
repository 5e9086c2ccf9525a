#pragma once

#include <string>

namespace OperationLog {

/// Lines go to the end of this file from now on; nowhere when the name is empty. False when it can't be opened. Lines
/// that can't be written, for example because the disk is full, wait in memory, up to 1 MiB, until the next one can be.
bool Open(const std::string& file);

} // namespace OperationLog
