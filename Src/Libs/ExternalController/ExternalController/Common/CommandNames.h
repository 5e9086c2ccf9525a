#pragma once

#include "ExternalController/Common/Command.h"

#include <cstdio>
#include <string>

/// The names of the requests, as the tools, their logs and the documentation use them.
namespace Command {

struct SName {
    Code code;
    const char* name;
};

/// Generated from Src/Contract/Contract.json by the build.
constexpr SName kNames[] = {
#include "Contract/Names.inc"
};

/// Returns the name of a request code, or null if the code is unknown.
constexpr const char* NameOf(unsigned int code)
{
    for (const SName& entry : kNames) {
        if (static_cast<unsigned int>(entry.code) == code)
            return entry.name;
    }
    return nullptr;
}

/// Returns a name and a code as "name (0x004)", with at least three hexadecimal digits.
inline std::string TextOf(const std::string& name, unsigned int code)
{
    char digits[9];
    std::snprintf(digits, sizeof digits, "%03x", code);
    return name + " (0x" + digits + ')';
}

/// Returns a code with its name, as "set-host-name (0x004)"; a reply has the name of its request:
/// "set-host-name (0x10000004)". The text for an unknown code is "unknown (0x123)".
inline std::string TextOf(unsigned int code)
{
    const char* const name = NameOf(code & ~kReplyBit);
    return TextOf(name ? name : "unknown", code);
}

} // namespace Command
