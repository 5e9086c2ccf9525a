#pragma once

#include <string>
#include <string_view>

/// Appends a JSON object or array (RFC 8259) without the white space between its tokens. Numbers and strings are not
/// changed. Duplicate keys are not detected.
/// \return false, with the text unchanged, if the JSON is malformed, contains invalid UTF-8, or is nested so deeply
/// that ReadJson could not read it as a member of another object
bool AppendCompactJson(std::string& text, std::string_view json);
