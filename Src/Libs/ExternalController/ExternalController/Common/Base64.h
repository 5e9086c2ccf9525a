#pragma once

#include <string>

/// Returns the base64 text (RFC 4648, section 4; padded, without line breaks) of the bytes.
///
/// \param length number of bytes
std::string Base64Encode(const char* data, unsigned int length);
