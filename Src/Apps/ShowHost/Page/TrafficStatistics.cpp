#include "ShowHost/Page/TrafficStatistics.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Vocabulary.h"

#include <QJsonArray>

#include <algorithm>

namespace {

/// Of a double. With fewer, the sum of many latencies would not change with each request.
constexpr int kSignificantDigits = 17;
constexpr std::size_t kRecordsAtOnce = 4096;
/// Peers of datagrams that are listed. A further one replaces the one that has been silent longest.
constexpr std::size_t kMaxConnections = 2000;
/// A longer reply is a list or a picture: commands and logins, which can fail, have short ones.
constexpr std::size_t kMaxRefusalBytes = 4096;

QJsonObject ObjectOf(std::string_view json)
{
    return ReadJson(QByteArray::fromRawData(json.data(), static_cast<int>(json.size()))).object();
}

/// Whether a reply reports that the request was not carried out. isRefusal in records.js is the same.
bool IsRefusal(const STrafficRecord& reply)
{
    if (reply.payload.size() > kMaxRefusalBytes)
        return false;
    const bool isFrame = reply.channel == TrafficChannel::Cloud; // which contains the message as a text
    const std::string data = isFrame ? ObjectOf(reply.payload)["data"].toString().toStdString() : std::string();
    const std::string_view message = isFrame ? data : reply.payload;
    if (message.find("errorMsg") != std::string_view::npos)
        return ObjectOf(message)["errorMsg"].toString() != QLatin1String("SUCCESS");
    if ((reply.code & ~Command::kReplyBit) == Command::Login)
        return ObjectOf(reply.payload)["result"].toInt() != LoginResult::Success;
    return std::any_of(ResultTextMap.begin(), ResultTextMap.end(), [&](const auto& entry) {
        return entry.first != ResultText::Success && !entry.second.empty() && entry.second == message;
    });
}

/// Whether the messages are a command of FTP that stores a file, and the reply of its success (RFC 959).
bool IsEndOfUpload(const STrafficRecord& request, const STrafficRecord& reply)
{
    const auto starts = [](const STrafficRecord& record, const char* text) {
        return record.payload.rfind(text, 0) == 0;
    };
    return reply.channel == TrafficChannel::AppUpload && starts(reply, "226") &&
           (starts(request, "STOR") || starts(request, "APPE"));
}

/// Milliseconds since 1970, or null for a time that has not been set.
QJsonValue TimeValue(std::chrono::system_clock::time_point time)
{
    const auto since = time.time_since_epoch();
    if (since.count() == 0)
        return {};
    return static_cast<double>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

QJsonValue Number(std::uint64_t number)
{
    return static_cast<double>(number);
}

QByteArray Head(const char* name, const char* type, const char* help)
{
    return QByteArray("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

} // namespace

std::size_t CTrafficStatistics::Update()
{
    std::size_t count = 0;
    for (;;) {
        const CTrafficRing::SBatch batch = m_ring.Read(m_position, kRecordsAtOnce);
        m_dropped += batch.begin - m_position;
        m_position = batch.begin + batch.records.size();
        count += batch.records.size();
        for (const CTrafficRing::Record& record : batch.records) {
            m_newest[record->number % m_newest.size()] = record;
            Count(*record);
        }
        if (batch.records.size() < kRecordsAtOnce)
            return count;
    }
}

CTrafficRing::Record CTrafficStatistics::Find(std::uint64_t number) const
{
    const CTrafficRing::Record& newest = m_newest[number % m_newest.size()];
    return newest && newest->number == number ? newest : m_ring.Find(number);
}

void CTrafficStatistics::Count(const STrafficRecord& record)
{
    SChannel& channel = m_channels[record.channel];
    const ConnectionKey key{record.channel, record.connection, record.peer};
    if (record.channel == TrafficChannel::Devices && record.kind != STrafficRecord::Kind::Message)
        m_deviceStates[record.peer] = record.kind == STrafficRecord::Kind::Opened ? "open" : record.text;
    switch (record.kind) {
    case STrafficRecord::Kind::Listening:
        channel.address = record.text;
        return;
    case STrafficRecord::Kind::Message:
        CountMessage(record);
        return;
    case STrafficRecord::Kind::Opened:
        ++channel.opened;
        m_connections[key].since = record.wallTime;
        return;
    case STrafficRecord::Kind::Closed:
        m_connections.erase(key);
        break;
    case STrafficRecord::Kind::Failed:
    case STrafficRecord::Kind::Note:
        break;
    }
    channel.note = record.peer.empty() ? record.text : record.peer + ": " + record.text;
    channel.noteTime = record.wallTime;
}

void CTrafficStatistics::CountMessage(const STrafficRecord& record)
{
    if (m_connections.size() >= kMaxConnections) {
        const auto silent = std::min_element(m_connections.begin(), m_connections.end(), [](auto& a, auto& b) {
            return a.second.lastMessage < b.second.lastMessage;
        });
        m_connections.erase(silent);
    }
    SConnection& connection = m_connections[{record.channel, record.connection, record.peer}];
    const std::uint32_t code = record.code & ~Command::kReplyBit;
    SCounter& counter = m_counters[{record.channel, Command::NameOf(code) ? code : 0}];
    if (connection.since == Clock::time_point())
        connection.since = record.wallTime;
    connection.lastMessage = record.wallTime;
    ++counter.messages;
    counter.bytes += record.wireBytes;
    if (record.from == STrafficRecord::From::Remote) {
        ++connection.requests;
        connection.received += record.wireBytes;
        if (record.code == Command::Heartbeat)
            connection.lastHeartbeat = record.wallTime;
        return;
    }
    connection.sent += record.wireBytes;
    if (record.replyTo != 0)
        CountReply(record, connection, counter);
}

void CTrafficStatistics::CountReply(const STrafficRecord& reply, SConnection& connection, SCounter& counter)
{
    const bool refused = IsRefusal(reply);
    connection.errors += refused;
    counter.errors += refused;
    const CTrafficRing::Record request = Find(reply.replyTo);
    if (!request)
        return;
    const double seconds = std::chrono::duration<double>(reply.time - request->time).count();
    const auto bound = std::lower_bound(kLatencyBounds.begin(), kLatencyBounds.end(), seconds);
    ++m_latencies[static_cast<std::size_t>(bound - kLatencyBounds.begin())];
    m_latencySum += seconds;
    if (IsEndOfUpload(*request, reply))
        ++m_uploads;
    if (request->code != Command::Login || refused)
        return;
    // Only one app is logged in: a login with "force" displaces the other one.
    for (auto& [key, other] : m_connections)
        other.user.clear();
    connection.user = ObjectOf(request->payload)["username"].toString().toStdString();
}

QJsonObject CTrafficStatistics::Remotes() const
{
    QJsonArray channels;
    for (const auto& [channel, state] : m_channels) {
        channels.append(QJsonObject{{"channel", NameOf(channel)},
                                    {"address", QString::fromStdString(state.address)},
                                    {"note", QString::fromStdString(state.note)},
                                    {"noteTime", TimeValue(state.noteTime)}});
    }
    QJsonArray connections;
    for (const auto& [key, connection] : m_connections) {
        connections.append(QJsonObject{{"channel", NameOf(std::get<0>(key))},
                                       {"connection", Number(std::get<1>(key))},
                                       {"peer", QString::fromStdString(std::get<2>(key))},
                                       {"user", QString::fromStdString(connection.user)},
                                       {"since", TimeValue(connection.since)},
                                       {"lastMessage", TimeValue(connection.lastMessage)},
                                       {"lastHeartbeat", TimeValue(connection.lastHeartbeat)},
                                       {"requests", Number(connection.requests)},
                                       {"errors", Number(connection.errors)},
                                       {"received", Number(connection.received)},
                                       {"sent", Number(connection.sent)}});
    }
    QJsonObject devices;
    for (const auto& [address, state] : m_deviceStates)
        devices[QString::fromStdString(address)] = QString::fromStdString(state);
    return {{"channels", channels}, {"connections", connections}, {"deviceStates", devices}};
}

QByteArray CTrafficStatistics::Metrics() const
{
    QByteArray messages = Head("showhost_messages_total", "counter", "Messages by channel and name.");
    QByteArray bytes = Head("showhost_message_bytes_total", "counter", "Bytes of these messages.");
    QByteArray errors = Head("showhost_refused_requests_total", "counter", "Requests that were not carried out.");
    for (const auto& [key, counter] : m_counters) {
        const char* const name = Command::NameOf(key.second);
        const QByteArray labels =
            QByteArray("{channel=\"") + NameOf(key.first) + "\",name=\"" + (name ? name : "other") + "\"} ";
        messages += "showhost_messages_total" + labels + QByteArray::number(quint64{counter.messages}) + '\n';
        bytes += "showhost_message_bytes_total" + labels + QByteArray::number(quint64{counter.bytes}) + '\n';
        errors += "showhost_refused_requests_total" + labels + QByteArray::number(quint64{counter.errors}) + '\n';
    }
    QByteArray opened = Head("showhost_connections_total", "counter", "Connections that were opened.");
    QByteArray open = Head("showhost_connections", "gauge", "Connections that are open, and peers of datagrams.");
    for (const auto& [channel, state] : m_channels) {
        const QByteArray labels = QByteArray("{channel=\"") + NameOf(channel) + "\"} ";
        const auto count =
            std::count_if(m_connections.begin(), m_connections.end(),
                          [channel = channel](const auto& entry) { return std::get<0>(entry.first) == channel; });
        opened += "showhost_connections_total" + labels + QByteArray::number(quint64{state.opened}) + '\n';
        open += "showhost_connections" + labels + QByteArray::number(qint64{count}) + '\n';
    }
    QByteArray latency = Head("showhost_request_seconds", "histogram", "Time from a request to its reply.");
    quint64 total = 0;
    for (std::size_t i = 0; i < m_latencies.size(); ++i) {
        total += m_latencies[i];
        const QByteArray bound = i < kLatencyBounds.size() ? QByteArray::number(kLatencyBounds[i]) : "+Inf";
        latency += "showhost_request_seconds_bucket{le=\"" + bound + "\"} " + QByteArray::number(total) + '\n';
    }
    latency += "showhost_request_seconds_sum " + QByteArray::number(m_latencySum, 'g', kSignificantDigits) +
               "\nshowhost_request_seconds_count " + QByteArray::number(total) + '\n';
    return messages + bytes + errors + opened + open + latency +
           Head("showhost_uploads_total", "counter", "Files that apps have uploaded.") + "showhost_uploads_total " +
           QByteArray::number(quint64{m_uploads}) + '\n' +
           Head("showhost_dropped_records_total", "counter", "Records that were discarded before they were counted.") +
           "showhost_dropped_records_total " + QByteArray::number(quint64{m_dropped}) + '\n';
}
