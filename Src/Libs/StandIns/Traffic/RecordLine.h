#pragma once

#include "Traffic/Traffic.h"

#include <string>

/// Lines of a recording: JSON objects with the keys of Docs/Traffic.md.
namespace RecordLine {

/// Returns the first line, without a line feed.
std::string HeaderOf(const std::string& program, std::chrono::system_clock::time_point started);
/// Appends the line of a record, without a line feed and without secrets.
void Append(std::string& line, const STrafficRecord& record, std::chrono::steady_clock::time_point started);
std::string LineOf(const STrafficRecord& record, std::chrono::steady_clock::time_point started);

} // namespace RecordLine
