#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/MediaNode.h"

/// Adds the keys with the scroll settings of a text or medium.
inline void AddScroll(CReply& to, const SScrollSettings& scroll)
{
    to.Set("scrollMode", scroll.mode);
    to.Set("headConnectTail", scroll.headConnectTail);
    to.Set("scrollInterval", scroll.interval);
    to.Set("scrollSpeed", scroll.speed);
}
