#include "ShowRemote/Recording/Capture.h"

#include "AppServer/AppServerConfig.h"
#include "CentralControl/CentralControlConfig.h"
#include "CloudControl/CloudControlConfig.h"
#include "Comm/Envelope.h"
#include "ExternalController/Common/CommandNames.h"
#include "FPClient/FPClientConfig.h"
#include "Interfaces/AppServer.h"

#include <QFile>
#include <QHostAddress>
#include <QtEndian>

namespace {

// Block types and options of pcapng. The numbers are in the byte order of this machine.
constexpr quint32 kSectionHeader = 0x0a0d0d0a;
constexpr quint32 kByteOrderMark = 0x1a2b3c4d;
constexpr quint32 kInterfaceDescription = 1;
constexpr quint32 kEnhancedPacket = 6;
constexpr quint16 kExportedPdu = 252; ///< link type
constexpr quint16 kTimeResolution = 9;
constexpr quint16 kPacketFlags = 2;
/// Wireshark refuses files with larger packets.
constexpr int kMaxPacketBytes = 262144;
constexpr quint32 kInbound = 1;
constexpr quint32 kOutbound = 2;

// Tags of an exported PDU, which are big-endian.
enum PduTag : quint16 {
    EndOfTags = 0,
    DissectorName = 12,
    IPv4Source = 20,
    IPv4Destination = 21,
    IPv6Source = 22,
    IPv6Destination = 23,
    PortType = 24,
    SourcePort = 25,
    DestinationPort = 26,
};
constexpr quint32 kTcp = 2;
constexpr quint32 kUdp = 3;

constexpr char kDissector[] = "zxap";

struct SWire {
    quint32 portType;
    std::uint16_t hostPort; ///< 0: the host's own port is not known
    bool hasEnvelopes;
};

SWire WireOf(TrafficChannel channel)
{
    switch (channel) {
    case TrafficChannel::AppControl:
        return {kTcp, AppServer::kControlPort, true};
    case TrafficChannel::AppBulk:
        return {kTcp, AppServer::kBulkPort, true};
    case TrafficChannel::AppDiscovery:
        return {kUdp, AppServer::kDiscoveryPort, false};
    case TrafficChannel::AppUpload:
        return {kTcp, AppServer::kFtpPort, false};
    case TrafficChannel::CentralControl:
        return {kUdp, CentralControl::kPort, false};
    case TrafficChannel::FP:
        return {kTcp, 0, true};
    case TrafficChannel::Cloud:
        return {kTcp, 0, false};
    case TrafficChannel::Devices:
        break;
    }
    return {kUdp, 0, false};
}

QByteArray Padded(QByteArray bytes)
{
    return bytes.append((4 - bytes.size() % 4) % 4, '\0');
}

template <class Number>
QByteArray Native(Number number)
{
    return QByteArray(reinterpret_cast<const char*>(&number), sizeof number);
}

template <class Number>
QByteArray BigEndian(Number number)
{
    return Native(qToBigEndian(number));
}

QByteArray Block(quint32 type, const QByteArray& body)
{
    const QByteArray length = Native(quint32(12 + body.size()));
    return Native(type) + length + body + length;
}

QByteArray Option(quint16 code, const QByteArray& value)
{
    return Native(code) + Native(quint16(value.size())) + Padded(value);
}

QByteArray Tag(PduTag tag, const QByteArray& value)
{
    return BigEndian(quint16(tag)) + BigEndian(quint16(value.size())) + value;
}

QByteArray AddressTag(bool isSource, const QHostAddress& address)
{
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        return Tag(isSource ? IPv6Source : IPv6Destination, QByteArray(reinterpret_cast<const char*>(&bytes), 16));
    }
    return Tag(isSource ? IPv4Source : IPv4Destination, BigEndian(address.toIPv4Address()));
}

/// The message as it was on the wire.
QByteArray PduOf(const SRecordedLine& line, const SWire& wire)
{
    if (!wire.hasEnvelopes)
        return line.payload.bytes;
    const bool isReplyToApp = line.from == STrafficRecord::From::Host && line.channel != TrafficChannel::FP;
    return Envelope::kCodeMark + BigEndian(line.code | (isReplyToApp ? Command::kReplyBit : 0)) +
           BigEndian(quint32(line.payload.bytes.size())) + line.payload.bytes;
}

QByteArray PacketOf(const SRecordedLine& line, std::chrono::microseconds started)
{
    const SWire wire = WireOf(line.channel);
    const bool isFromHost = line.from == STrafficRecord::From::Host;
    const int colon = line.peer.lastIndexOf(':');
    const QHostAddress peer(line.peer.left(colon).remove('[').remove(']'));
    // The recording has the peer's address only; the host has one of the same kind.
    const QHostAddress host(peer.protocol() == QAbstractSocket::IPv6Protocol ? QHostAddress::LocalHostIPv6
                                                                             : QHostAddress::LocalHost);
    const quint32 peerPort = colon >= 0 ? line.peer.mid(colon + 1).toUInt() : 0;
    QByteArray data = Tag(DissectorName, kDissector) + AddressTag(true, isFromHost ? host : peer) +
                      AddressTag(false, isFromHost ? peer : host) + Tag(PortType, BigEndian(wire.portType)) +
                      Tag(SourcePort, BigEndian(isFromHost ? quint32(wire.hostPort) : peerPort)) +
                      Tag(DestinationPort, BigEndian(isFromHost ? peerPort : quint32(wire.hostPort))) +
                      Tag(EndOfTags, {}) + PduOf(line, wire);
    const auto time = static_cast<quint64>((started + line.time).count());
    const auto length = Native(quint32(data.size()));
    data.truncate(kMaxPacketBytes);
    return Block(kEnhancedPacket, Native(quint32(0)) + Native(quint32(time >> 32)) + Native(quint32(time)) +
                                      Native(quint32(data.size())) + length + Padded(data) +
                                      Option(kPacketFlags, Native(isFromHost ? kOutbound : kInbound)) + Option(0, {}));
}

} // namespace

QByteArray MakeCapture(const SRecording& recording)
{
    QByteArray capture =
        Block(kSectionHeader, Native(kByteOrderMark) + Native(quint16(1)) + Native(quint16(0)) + Native(qint64(-1)));
    capture += Block(kInterfaceDescription, Native(kExportedPdu) + Native(quint16(0)) + Native(quint32(0)) +
                                                Option(kTimeResolution, QByteArray(1, '\x06')) + Option(0, {}));
    for (const SRecordedLine& line : recording.lines) {
        if (line.kind == STrafficRecord::Kind::Message)
            capture += PacketOf(line, recording.started);
    }
    return capture;
}

QString MakeDissector()
{
    QString names;
    for (const Command::SName& entry : Command::kNames)
        names += QStringLiteral("    [0x%1] = \"%2\",\n").arg(int{entry.code}, 3, 16, QLatin1Char('0')).arg(entry.name);
    QFile file(":/Dissector.lua");
    file.open(QIODevice::ReadOnly); // a resource of this program
    return QString::fromUtf8(file.readAll())
        .replace("@CONTRACT@", ZENTRAVOX_CONTRACT_VERSION)
        .replace("@NAMES@", names);
}
