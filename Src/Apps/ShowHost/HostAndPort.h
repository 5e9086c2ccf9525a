#pragma once

#include <QString>

#include <cstdint>
#include <string>
#include <utility>

/// Reads "HOST:PORT"; an IPv6 address stands in brackets. Throws CFileError, which names the option.
std::pair<std::string, std::uint16_t> ReadHostAndPort(const std::string& option, const QString& text);
