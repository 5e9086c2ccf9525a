#pragma once

#include <QString>

#include <cstdint>
#include <string>
#include <utility>

/// Parses "HOST:PORT" or, for an IPv6 address, "[HOST]:PORT". The port is 1 to 65535. Returns the host without brackets
/// and the port.
/// \param option name of the command line option, for the error message
/// \throws CFileError if the text has another form
std::pair<std::string, std::uint16_t> ReadHostAndPort(const std::string& option, const QString& text);
