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
    const auto& fault = request.Fault();
    if (!fault)
        return false;
    switch (fault->action) {
    case SFault::Action::Ignore:
        request.NoteFault("request ignored");
        return true;
    case SFault::Action::Reset:
        request.NoteFault("connection reset");
        connection.Reset("reset by a fault rule");
        return true;
    case SFault::Action::Reply: {
        request.NoteFault("answered");
        const bool isFP = channel == TrafficChannel::FP;
        const auto package = std::make_shared<Comm::RequestPackage>();
        package->data = CAppDataPack(isFP ? request.Code() : request.Code() | Command::kReplyBit,
                                     QByteArray::fromStdString(fault->reply))
                            .GetData()
                            .toStdString();
        Send(channel, connection, package);
        return true;
    }
    default:
        return false;
    }
}

bool EnvelopeTraffic::Send(TrafficChannel channel, CEnvelopeConnection& connection,
                           const std::shared_ptr<const Comm::RequestPackage>& package)
{
    const CTrafficRequest* const request = CTrafficRequest::Current();
    const SFault* const fault =
        request && request->IsAnsweredOn(channel, connection.Number()) ? request->Fault().get() : nullptr;
    if (fault && fault->action == SFault::Action::Drop) {
        request->NoteFault("reply dropped");
        return true;
    }
    if (fault && fault->action == SFault::Action::Truncate) {
        request->NoteFault("reply truncated to " + std::to_string(fault->bytes) + " bytes");
        const auto part = std::make_shared<Comm::RequestPackage>(*package);
        part->data.resize(std::min(part->data.size(), fault->bytes));
        const bool isSent = connection.Send(part);
        connection.FlushAndClose("closed by a fault rule");
        return isSent;
    }
    if (!connection.Send(package))
        return false;
    CTraffic& traffic = CTraffic::GetInstance();
    const bool isTwice = fault && fault->action == SFault::Action::Duplicate;
    for (int i = 0; i < (isTwice ? 2 : 1); ++i) {
        if (i == 1) {
            request->NoteFault("reply sent twice");
            connection.Send(package);
        }
        if (traffic.WantsMessages() && package->data.size() >= Envelope::kCodeHeaderBytes) {
            STrafficRecord record = RecordOf(channel, connection, package->data);
            record.from = STrafficRecord::From::Host;
            traffic.Publish(std::move(record));
        }
    }
    return true;
}
