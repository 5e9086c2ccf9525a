#pragma once

#include <string>

/// The base64 text (RFC 4648, padded, one line) of length bytes.
std::string Base64Encode(const char* data, unsigned int length);
