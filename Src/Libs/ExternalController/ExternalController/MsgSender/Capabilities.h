#pragma once

#include "ExternalController/MsgSender/Reply.h"

/// What remotes may do with resources and with media, which depends on the kind of resource alone.
namespace Capabilities {

enum Of : unsigned int {
    Resource = 1,
    Media = 2,
};

/// Adds a flag for each capability that resources or media report. groupType is a group's own, and 0 for other types.
void Add(CReply& to, Of what, int resourceType, int groupType);

} // namespace Capabilities
