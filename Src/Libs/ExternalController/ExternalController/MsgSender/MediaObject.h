#pragma once

#include "ExternalController/MsgSender/Reply.h"

class CMediaNode;
struct SScrollSettings;

/// Returns the description of a medium on the stage for apps. It is empty if the medium's resource or its group record
/// is missing, or if the medium is a presentation without a player.
CReply MediaObject(const CMediaNode& media);

/// Adds the keys with the scroll settings of a text or medium.
void AddScroll(CReply& to, const SScrollSettings& scroll);
