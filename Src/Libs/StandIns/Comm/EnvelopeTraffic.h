#pragma once

#include "Traffic/Traffic.h"

#include <memory>
#include <string>
#include <string_view>

class CEnvelopeConnection;
namespace Comm {
struct RequestPackage;
}

/// Records of envelopes.
namespace EnvelopeTraffic {

/// Describes a complete envelope, such as "set-host-name (0x004), 34 bytes".
std::string TextOf(std::string_view envelope);
/// Returns the record of an envelope that the remote has sent on the connection.
STrafficRecord RecordOf(TrafficChannel channel, const CEnvelopeConnection& connection, std::string_view envelope);
/// Carries out a fault rule that replaces the handling of the request.
/// \return false if there is none, so that the request is to be handled
bool TakesOver(const CTrafficRequest& request, TrafficChannel channel, CEnvelopeConnection& connection);
/// Sends an envelope of the host and publishes it. Applies the fault rule of the request that this thread is handling.
/// Any thread.
/// \return false when the connection can't send any more
bool Send(TrafficChannel channel, CEnvelopeConnection& connection,
          const std::shared_ptr<const Comm::RequestPackage>& package);

} // namespace EnvelopeTraffic
