#include "Comm/EnvelopeTraffic.h"

#include "Comm/Envelope.h"
#include "Comm/EnvelopeConnection.h"
#include "ExternalController/Common/CommandNames.h"

#include <QString>

std::string EnvelopeTraffic::TextOf(std::string_view envelope)
{
    const std::uint32_t code = Envelope::ReadNumber(envelope.data() + Envelope::kMarkBytes);
    const char* name = Command::NameOf(code & ~Command::kReplyBit);
    QString text = name ? QString::fromLatin1(name) : QStringLiteral("unknown request");
    text += QStringLiteral(" (0x%1), %2 bytes").arg(code, 3, 16, QLatin1Char('0')).arg(envelope.size());
    return text.toStdString();
}

void EnvelopeTraffic::Publish(SChannelEvent::Kind kind, const char* channel, const CEnvelopeConnection& connection,
                              std::string_view envelope)
{
    CChannelEvents& events = CChannelEvents::GetInstance();
    if (events.WantsTraffic())
        events.Publish({kind, channel, connection.RemoteText(), TextOf(envelope)});
}
