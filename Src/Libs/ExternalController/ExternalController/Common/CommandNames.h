#pragma once

#include "ExternalController/Common/Command.h"

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

} // namespace Command
