#pragma once

#include <string>

namespace OperationLog {

/// Opens the file to which lines are appended from now on. An empty name closes the log. Lines that can't be written,
/// for example because the disk is full, wait in memory, up to 1 MiB, and are written with the next line. Any thread.
/// \return false when the file can't be opened
bool Open(const std::string& file);

} // namespace OperationLog
