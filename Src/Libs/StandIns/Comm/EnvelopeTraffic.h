#pragma once

#include "Comm/ChannelEvents.h"

#include <string>
#include <string_view>

class CEnvelopeConnection;

/// Envelopes as people read them in the log.
namespace EnvelopeTraffic {

/// "set-host-name (0x004), 34 bytes" of a whole envelope.
std::string TextOf(std::string_view envelope);
/// Tells that an envelope was received or sent, if anyone wants to know.
void Publish(SChannelEvent::Kind kind, const char* channel, const CEnvelopeConnection& connection,
             std::string_view envelope);

} // namespace EnvelopeTraffic
