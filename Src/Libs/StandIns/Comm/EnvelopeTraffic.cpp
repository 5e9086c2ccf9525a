#include "Comm/EnvelopeTraffic.h"

#include "Comm/Envelope.h"
#include "Comm/EnvelopeConnection.h"
#include "ExternalController/Common/CommandNames.h"

std::string EnvelopeTraffic::TextOf(std::string_view envelope)
{
    const std::uint32_t code = Envelope::ReadNumber(envelope.data() + Envelope::kMarkBytes);
    return Command::TextOf(code) + ", " + std::to_string(envelope.size()) + " bytes";
}

STrafficRecord EnvelopeTraffic::RecordOf(TrafficChannel channel, const CEnvelopeConnection& connection,
                                         std::string_view envelope)
{
    STrafficRecord record{STrafficRecord::Kind::Message, channel, connection.RemoteText(), {}, connection.Number()};
    record.from = STrafficRecord::From::Remote;
    record.code = Envelope::ReadNumber(envelope.data() + Envelope::kMarkBytes);
    record.payload = envelope.substr(Envelope::kCodeHeaderBytes);
    record.wireBytes = envelope.size();
    return record;
}

bool EnvelopeTraffic::Send(TrafficChannel channel, CEnvelopeConnection& connection,
                           const std::shared_ptr<const Comm::RequestPackage>& package)
{
    if (!connection.Send(package))
        return false;
    CTraffic& traffic = CTraffic::GetInstance();
    if (traffic.WantsMessages() && package->data.size() >= Envelope::kCodeHeaderBytes) {
        STrafficRecord record = RecordOf(channel, connection, package->data);
        record.from = STrafficRecord::From::Host;
        traffic.Publish(std::move(record));
    }
    return true;
}
