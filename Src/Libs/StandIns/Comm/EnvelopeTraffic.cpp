#include "Comm/EnvelopeTraffic.h"

#include "Comm/Envelope.h"
#include "Comm/EnvelopeConnection.h"
#include "ExternalController/Common/CommandNames.h"

std::string EnvelopeTraffic::TextOf(std::string_view envelope)
{
    const std::uint32_t code = Envelope::ReadNumber(envelope.data() + Envelope::kMarkBytes);
    return Command::TextOf(code) + ", " + std::to_string(envelope.size()) + " bytes";
}

void EnvelopeTraffic::Publish(SChannelEvent::Kind kind, const char* channel, const CEnvelopeConnection& connection,
                              std::string_view envelope)
{
    CChannelEvents& events = CChannelEvents::GetInstance();
    if (events.WantsTraffic())
        events.Publish({kind, channel, connection.RemoteText(), TextOf(envelope)});
}
