#pragma once

#include "ExternalController/Common/Command.h"

/// What people call the requests: in the tools, their logs and the documentation.
namespace Command {

struct SName {
    Code code;
    const char* name;
};

/// Made from the contract.
constexpr SName kNames[] = {
#include "Contract/Names.inc"
};

/// The name of a request code, or null for a code without one.
constexpr const char* NameOf(unsigned int code)
{
    for (const SName& entry : kNames) {
        if (static_cast<unsigned int>(entry.code) == code)
            return entry.name;
    }
    return nullptr;
}

} // namespace Command
