#pragma once

#include "ExternalController/MsgSender/Reply.h"
#include "Interfaces/MediaNode.h"

/// Adds how something scrolls.
inline void AddScroll(CReply& to, const SScrollSettings& scroll)
{
    to.Set("scrollMode", scroll.mode);
    to.Set("headConnectTail", scroll.headConnectTail);
    to.Set("scrollInterval", scroll.interval);
    to.Set("scrollSpeed", scroll.speed);
}
