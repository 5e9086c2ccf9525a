#include "ShowHost/FaultRules.h"

#include "ExternalController/Common/CommandNames.h"
#include "HostModels/Files/JsonFile.h"

#include <QHostAddress>
#include <QJsonDocument>
#include <QUrl>

namespace {

constexpr char kRules[] = "faults";
constexpr std::int64_t kMaxDelay = std::int64_t{10} * 60 * 1000;
constexpr int kMaxNumber = 1'000'000'000;

using Action = SFault::Action;

TrafficChannel ReadChannel(const CJsonObjectReader& reader)
{
    reader.RequiredText("channel");
    const int channel = reader.Choice(
        "channel", 0,
        {"app control", "app bulk", "app discovery", "app upload", "central control", "cloud", "FP", "devices"});
    return static_cast<TrafficChannel>(channel);
}

/// Fails where the action has no meaning.
void CheckChannel(const CJsonObjectReader& reader, const SFault& fault)
{
    if (fault.channel == TrafficChannel::AppUpload)
        reader.Fail("channel", "the FTP server, a process of its own, handles the uploads");
    if (fault.channel == TrafficChannel::Devices)
        reader.Fail("channel", "devices send no requests");
    const bool hasDatagrams =
        fault.channel == TrafficChannel::AppDiscovery || fault.channel == TrafficChannel::CentralControl;
    if (hasDatagrams && (fault.action == Action::Truncate || fault.action == Action::Reset))
        reader.Fail("action", "datagrams have no connection that could be closed");
}

std::uint32_t ReadCode(const CJsonObjectReader& reader, TrafficChannel channel)
{
    if (channel == TrafficChannel::AppDiscovery)
        reader.Fail("request", "discovery has one request only; omit this key");
    const QString request = reader.RequiredText("request");
    for (const Command::SName& entry : Command::kNames) {
        if (request == entry.name)
            return static_cast<std::uint32_t>(entry.code);
    }
    bool isNumber = false;
    const std::uint32_t code = request.toUInt(&isNumber, 0);
    if (!isNumber || code == 0 || code >= Command::kReplyBit)
        reader.Fail("request", "must be the name of a request or a code such as \"0x005\"");
    return code;
}

/// Returns the peer in the form of the records.
std::string ReadPeer(const CJsonObjectReader& reader)
{
    if (!reader.Has("peer"))
        return {};
    const QString peer = reader.RequiredText("peer");
    if (const QHostAddress address(peer); !address.isNull()) {
        const std::string ip = address.toString().toStdString();
        return address.protocol() == QAbstractSocket::IPv6Protocol ? '[' + ip + ']' : ip;
    }
    const QUrl url("//" + peer, QUrl::StrictMode);
    const QHostAddress address(url.host());
    if (address.isNull() || url.port() < 0)
        reader.Fail("peer", "must be an IP address, with or without a port, such as 127.0.0.1:4000 or [::1]:4000");
    return AddressText(address.toString().toStdString(), static_cast<std::uint16_t>(url.port()));
}

void ReadCondition(const CJsonObjectReader& reader, SFault& fault)
{
    if (int{reader.Has("first")} + int{reader.Has("every")} + int{reader.Has("probability")} > 1)
        reader.Fail(reader.Has("first") ? "first" : "every", "only one of first, every and probability can be given");
    if (reader.Has("seed") && !reader.Has("probability"))
        reader.Fail("seed", "can only be given with probability");
    if (reader.Has("first"))
        fault.first = static_cast<std::uint64_t>(reader.Number("first", 1, 1, kMaxNumber));
    fault.every = static_cast<std::uint64_t>(reader.Number("every", 1, 1, kMaxNumber));
    fault.probability = static_cast<double>(reader.Real("probability", 1, 0, 1));
    fault.seed = static_cast<std::uint32_t>(reader.Number("seed", 0, 0, kMaxNumber));
}

/// Reads the reply that the host sends instead of its own: what Docs/Protocol.md shows for the channel.
void ReadReply(const CJsonObjectReader& reader, SFault& fault)
{
    const QJsonValue body = reader.Json().value(QLatin1String("body"));
    if (fault.channel == TrafficChannel::Cloud) {
        const CJsonObjectReader frame = reader.Object("body");
        frame.AllowOnly({"route", "data"});
        frame.RequiredText("data");
        fault.route = frame.Number("route", -1, 0);
        fault.reply = frame.Text("data", {}).toStdString();
    } else if (fault.channel == TrafficChannel::CentralControl && body.isString()) {
        fault.reply = body.toString().toStdString();
    } else if (body.isObject()) {
        fault.reply = QJsonDocument(body.toObject()).toJson().toStdString();
    } else {
        reader.Fail("body", fault.channel == TrafficChannel::CentralControl ? "must be an object or a string"
                                                                            : "must be an object");
    }
}

void ReadAction(const CJsonObjectReader& reader, SFault& fault)
{
    reader.RequiredText("action");
    fault.action = static_cast<Action>(
        reader.Choice("action", 0, {"delay", "ignore", "drop", "duplicate", "truncate", "reset", "reply"}));
    constexpr struct {
        const char* key;
        Action action;
    } kValues[] = {{"milliseconds", Action::Delay}, {"bytes", Action::Truncate}, {"body", Action::Reply}};
    for (const auto& [key, action] : kValues) {
        if (reader.Has(key) != (fault.action == action))
            reader.Fail(key, reader.Has(key) ? "can't be given with this action" : "is required by this action");
    }
    CheckChannel(reader, fault);
    if (fault.action == Action::Delay) {
        const std::int64_t delay = reader.Milliseconds("milliseconds", 0);
        if (delay > kMaxDelay)
            reader.Fail("milliseconds", QStringLiteral("must not exceed %1").arg(kMaxDelay));
        fault.delay = std::chrono::milliseconds(delay);
    } else if (fault.action == Action::Truncate) {
        fault.bytes = static_cast<std::size_t>(reader.Number("bytes", 0, 1));
    } else if (fault.action == Action::Reply) {
        ReadReply(reader, fault);
    }
}

} // namespace

SFault ReadFault(const CJsonObjectReader& reader)
{
    reader.AllowOnly({"channel", "request", "peer", "first", "every", "probability", "seed", "action", "milliseconds",
                      "bytes", "body"});
    SFault fault;
    fault.channel = ReadChannel(reader);
    ReadAction(reader, fault);
    if (reader.Has("request"))
        fault.code = ReadCode(reader, fault.channel);
    fault.peer = ReadPeer(reader);
    ReadCondition(reader, fault);
    fault.text = QJsonDocument(reader.Json()).toJson(QJsonDocument::Compact).toStdString();
    return fault;
}

void LoadFaults(const QString& file)
{
    const CJsonObjectReader top(file);
    top.AllowOnly({kRules});
    std::vector<SFault> faults;
    for (const CJsonObjectReader& reader : top.Objects(kRules))
        faults.push_back(ReadFault(reader));
    for (SFault& fault : faults)
        CFaults::GetInstance().Add(std::move(fault));
}
