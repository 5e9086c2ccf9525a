#include "Traffic/RecordLine.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/JsonReader.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

const QString kHidden = QStringLiteral("***");

/// The keys of secret values, from the contract.
const QStringList& SecretKeys()
{
    static const QStringList keys = QStringLiteral(ZENTRAVOX_SECRET_KEYS).split(' ');
    return keys;
}

/// Whether the text may contain the key of a secret. JSON can spell a key with escape sequences.
bool MayHaveSecret(std::string_view text)
{
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> names{"\\u"};
        for (const QString& key : SecretKeys())
            names.push_back(key.toStdString());
        return names;
    }();
    return std::any_of(keys.begin(), keys.end(),
                       [&](const std::string& key) { return text.find(key) != std::string_view::npos; });
}

/// Hides the word after each key, as in "password=1234" and "PASS 1234".
QString HideWords(QString text)
{
    static const QRegularExpression secret("\\b(" + SecretKeys().join('|') + ")([=:\\s]\\s*)[^&\\s]+");
    return text.replace(secret, "\\1\\2" + kHidden);
}

QJsonValue Hide(const QJsonValue& value);

QJsonValue HideInText(const QString& text)
{
    if (!MayHaveSecret(text.toStdString()))
        return text;
    // A message to the cloud contains the text of a JSON object.
    const QJsonDocument json = ReadJson(text.toUtf8());
    if (json.isObject())
        return QString::fromUtf8(QJsonDocument(Hide(json.object()).toObject()).toJson(QJsonDocument::Compact));
    return HideWords(text);
}

QJsonValue Hide(const QJsonValue& value)
{
    if (value.isString())
        return HideInText(value.toString());
    if (value.isArray()) {
        QJsonArray array = value.toArray();
        for (QJsonValueRef element : array)
            element = Hide(element);
        return array;
    }
    QJsonObject object = value.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        entry.value() = SecretKeys().contains(entry.key()) ? kHidden : Hide(entry.value());
    return value.isObject() ? object : value;
}

void AppendText(std::string& line, std::string_view text)
{
    line += '"';
    while (!text.empty()) {
        const auto special = std::find_if(text.begin(), text.end(), [](char c) {
            return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20;
        });
        const auto plain = static_cast<std::size_t>(special - text.begin());
        line += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        char escape[7] = {'\\', text.front()};
        if (static_cast<unsigned char>(text.front()) < 0x20)
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(text.front()));
        line += escape;
        text.remove_prefix(1);
    }
    line += '"';
}

void AppendKey(std::string& line, const char* key)
{
    line += line.size() == 1 ? "\"" : ",\"";
    line += key;
    line += "\":";
}

void AppendEntry(std::string& line, const char* key, std::string_view text)
{
    AppendKey(line, key);
    AppendText(line, text);
}

void AppendEntry(std::string& line, const char* key, std::uint64_t number)
{
    AppendKey(line, key);
    line += std::to_string(number);
}

/// Appends a JSON text without the white space between its tokens.
/// \return false, with the line unchanged, if the brackets or the quotes don't match
bool AppendCompact(std::string& line, std::string_view json)
{
    const std::size_t before = line.size();
    int depth = 0;
    bool isInText = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (isInText && c == '\\' && i + 1 < json.size()) {
            line += c;
            line += json[++i];
            continue;
        }
        if (c == '"')
            isInText = !isInText;
        if (!isInText && (c == ' ' || c == '\n' || c == '\r' || c == '\t'))
            continue;
        if (!isInText && (c == '{' || c == '['))
            ++depth;
        if (!isInText && (c == '}' || c == ']'))
            --depth;
        line += c;
    }
    if (depth == 0 && !isInText)
        return true;
    line.resize(before);
    return false;
}

bool StartsLikeJson(std::string_view text)
{
    return !text.empty() && (text.front() == '{' || text.front() == '[');
}

bool AppendJson(std::string& line, const STrafficRecord& record)
{
    if (!StartsLikeJson(record.payload))
        return false;
    const bool mayHaveSecret = MayHaveSecret(record.payload);
    // The host writes correct JSON, remotes need not.
    if (mayHaveSecret || record.from == STrafficRecord::From::Remote) {
        const QJsonDocument json =
            ReadJson(QByteArray::fromRawData(record.payload.data(), static_cast<int>(record.payload.size())));
        if (json.isNull())
            return false;
        if (mayHaveSecret) {
            AppendKey(line, "body");
            const QJsonValue hidden = Hide(json.isArray() ? QJsonValue(json.array()) : json.object());
            line += (hidden.isArray() ? QJsonDocument(hidden.toArray()) : QJsonDocument(hidden.toObject()))
                        .toJson(QJsonDocument::Compact)
                        .toStdString();
            return true;
        }
    }
    const std::size_t before = line.size();
    AppendKey(line, "body");
    if (AppendCompact(line, record.payload))
        return true;
    line.resize(before);
    return false;
}

void AppendBytes(std::string& line, std::string_view bytes)
{
    AppendKey(line, "bytes");
    line += '"';
    line += QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())).toBase64().toStdString();
    line += '"';
}

void AppendPayload(std::string& line, const STrafficRecord& record)
{
    const std::string_view payload = record.payload;
    if (payload.size() >= Envelope::kIdHeaderBytes &&
        payload.compare(0, Envelope::kMarkBytes, Envelope::kIdMark) == 0) {
        const QUuid id = QUuid::fromRfc4122(QByteArray(payload.data() + Envelope::kMarkBytes, 16));
        AppendEntry(line, "id", id.toString(QUuid::WithoutBraces).toStdString());
        AppendBytes(line, payload.substr(Envelope::kIdHeaderBytes));
        return;
    }
    if (payload.empty() || AppendJson(line, record))
        return;
    const QByteArray bytes(payload.data(), static_cast<int>(payload.size()));
    const QString text = QString::fromUtf8(bytes);
    const bool isText = text.toUtf8() == bytes;
    if (MayHaveSecret(payload) && (!isText || StartsLikeJson(payload)))
        AppendEntry(line, "text", kHidden.toStdString()); // where the secret ends is unknown
    else if (isText)
        AppendEntry(line, "text", HideWords(text).toStdString());
    else
        AppendBytes(line, payload);
}

const char* NameOf(STrafficRecord::Kind kind)
{
    switch (kind) {
    case STrafficRecord::Kind::Opened:
        return "opened";
    case STrafficRecord::Kind::Closed:
        return "closed";
    case STrafficRecord::Kind::Message:
        return "message";
    default:
        return "note";
    }
}

/// Whether the remote has sent the message or opened the connection.
bool IsFromRemote(const STrafficRecord& record)
{
    if (record.kind != STrafficRecord::Kind::Opened)
        return record.from == STrafficRecord::From::Remote;
    return record.channel != TrafficChannel::Cloud && record.channel != TrafficChannel::FP &&
           record.channel != TrafficChannel::Devices;
}

std::string NoteOf(const STrafficRecord& record)
{
    const std::string text = record.kind == STrafficRecord::Kind::Listening ? "listens on " + record.text : record.text;
    return HideWords(QString::fromStdString(text)).toStdString();
}

} // namespace

std::string RecordLine::HeaderOf(const std::string& program, std::chrono::system_clock::time_point started)
{
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(started.time_since_epoch()).count();
    const QString time = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs);
    std::string line = "{";
    AppendEntry(line, "recording", 1);
    AppendEntry(line, "contract", ZENTRAVOX_CONTRACT_VERSION);
    AppendEntry(line, "program", program);
    AppendEntry(line, "started", time.toStdString());
    return line + '}';
}

std::string RecordLine::LineOf(const STrafficRecord& record, std::chrono::steady_clock::time_point started)
{
    std::string line = "{";
    line.reserve(256 + record.payload.size());
    AppendEntry(line, "n", record.number);
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(record.time - started).count();
    constexpr std::int64_t kSecond = 1'000'000;
    AppendKey(line, "t");
    line += std::to_string(us / kSecond);
    line += '.';
    line += std::to_string(kSecond + us % kSecond).substr(1); // with leading zeros
    AppendEntry(line, "channel", NameOf(record.channel));
    AppendEntry(line, "connection", record.connection);
    const bool isAscii = std::all_of(record.peer.begin(), record.peer.end(), [](unsigned char c) { return c < 0x80; });
    // The name of a port can be invalid UTF-8.
    AppendEntry(line, "peer", isAscii ? record.peer : QString::fromStdString(record.peer).toStdString());
    AppendEntry(line, "from", IsFromRemote(record) ? "remote" : "host");
    AppendEntry(line, "kind", NameOf(record.kind));
    if (record.kind != STrafficRecord::Kind::Message) {
        if (!record.text.empty())
            AppendEntry(line, "note", NoteOf(record));
        return line + '}';
    }
    const std::uint32_t code = record.code & ~Command::kReplyBit;
    if (code != 0) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%03x", code);
        AppendEntry(line, "code", hex);
        if (const char* const name = Command::NameOf(code))
            AppendEntry(line, "name", name);
    }
    if (record.replyTo != 0)
        AppendEntry(line, "replyTo", record.replyTo);
    AppendEntry(line, "size", record.wireBytes);
    if (!record.text.empty())
        AppendEntry(line, "note", NoteOf(record));
    AppendPayload(line, record);
    return line + '}';
}
