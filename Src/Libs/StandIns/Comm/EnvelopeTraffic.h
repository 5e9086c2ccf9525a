#pragma once

#include "Comm/ChannelEvents.h"

#include <string>
#include <string_view>

class CEnvelopeConnection;

/// Descriptions of envelopes for the log.
namespace EnvelopeTraffic {

/// Describes a complete envelope, such as "set-host-name (0x004), 34 bytes".
std::string TextOf(std::string_view envelope);
/// Publishes that an envelope was received or sent, if the event sink wants traffic. Any thread.
void Publish(SChannelEvent::Kind kind, const char* channel, const CEnvelopeConnection& connection,
             std::string_view envelope);

} // namespace EnvelopeTraffic
