#include "Comm/EnvelopeTraffic.h"

#include "Comm/Envelope.h"
#include "Comm/EnvelopeConnection.h"
#include "ExternalController/Common/CommandNames.h"
#include "Traffic/Faults.h"

#include <algorithm>

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

bool EnvelopeTraffic::TakesOver(const CTrafficRequest& request, TrafficChannel channel, CEnvelopeConnection& connection)
{
    return IsTakenOver(
        request, [&](const char* reason) { connection.Reset(reason); },
        [&](const SFault& fault) {
            const bool isFP = channel == TrafficChannel::FP;
            const auto package = std::make_shared<Comm::RequestPackage>();
            package->data = CAppDataPack(isFP ? request.Code() : request.Code() | Command::kReplyBit,
                                         QByteArray::fromStdString(fault.reply))
                                .GetData()
                                .toStdString();
            Send(channel, connection, package);
        });
}

bool EnvelopeTraffic::Send(TrafficChannel channel, CEnvelopeConnection& connection,
                           const std::shared_ptr<const Comm::RequestPackage>& package)
{
    if (!CTraffic::WantsMessages())
        return connection.Send(package);
    const CTrafficRequest* const request = CTrafficRequest::Current();
    const SReplyFault fault =
        ApplyToReply(request && request->IsAnsweredOn(channel, connection.Number()) ? request : nullptr);
    if (fault.maxBytes != 0) {
        const auto part = std::make_shared<Comm::RequestPackage>(*package);
        part->data.resize(std::min(part->data.size(), fault.maxBytes));
        const bool isSent = connection.Send(part);
        connection.FlushAndClose("closed by a fault rule");
        return isSent;
    }
    for (int i = 0; i < fault.copies; ++i) {
        if (!connection.Send(package))
            return false;
        if (package->data.size() >= Envelope::kCodeHeaderBytes) {
            STrafficRecord record = RecordOf(channel, connection, package->data);
            record.from = STrafficRecord::From::Host;
            CTraffic::GetInstance().Publish(std::move(record));
        }
    }
    return true;
}
