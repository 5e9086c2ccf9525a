#include "FuzzHost.h"

#include "ExternalController/Common/Vocabulary.h"
#include "Support/RecordingChannels.h"

// A datagram on the discovery port.
void FuzzInput(std::string_view input)
{
    const auto packet = std::make_shared<Comm::ResponsePackage>();
    packet->payload = input;
    packet->remoteIp = "10.0.0.7";
    packet->remotePort = 4007;
    RecordingChannels::Callbacks().appUdp(packet);
    FuzzHost::Require(RecordingChannels::Outgoing().size() == (input == kDiscoveryRequest ? 1U : 0U),
                      "only the discovery request is answered");
}
