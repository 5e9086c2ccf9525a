#pragma once

#include "ExternalController/MsgSender/Reply.h"

/// The capabilities of resources and media that remotes display. They depend only on the type of the resource.
namespace Capabilities {

enum Of : unsigned int {
    Resource = 1,
    Media = 2,
};

/// Adds one boolean key for each capability that replies about resources, or about media, contain.
///
/// \param resourceType a ResourceType
/// \param groupType    for a group the type of the group, otherwise 0
void Add(CReply& to, Of what, int resourceType, int groupType);

} // namespace Capabilities
