#include "Traffic/RecordLine.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/JsonScan.h"
#include "Traffic/CompactJson.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <vector>

namespace {

const QString kHidden = QStringLiteral("***");

/// The keys of secret values, from the contract.
const QStringList& SecretKeys()
{
    static const QStringList keys = QStringLiteral(ZENTRAVOX_SECRET_KEYS).split(' ');
    return keys;
}

/// Whether the text contains the key of a secret.
bool HasSecretKey(std::string_view text)
{
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> names;
        for (const QString& key : SecretKeys())
            names.push_back(key.toStdString());
        return names;
    }();
    return std::any_of(keys.begin(), keys.end(),
                       [&](const std::string& key) { return text.find(key) != std::string_view::npos; });
}

/// Whether the JSON may contain the key of a secret, which can be spelled with escape sequences.
bool MayHaveSecret(std::string_view json)
{
    return json.find("\\u") != std::string_view::npos || HasSecretKey(json);
}

/// Hides everything that follows a key: where the secret ends is unknown.
QString HideWords(QString text)
{
    if (!HasSecretKey(text.toStdString()))
        return text;
    static const QRegularExpression secret("\\b(" + SecretKeys().join('|') + ")(\\W\\s*)\\S.*",
                                           QRegularExpression::DotMatchesEverythingOption);
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

/// Collects short texts and appends them to a line at once, which is several times faster than one by one.
class CShortTexts {
public:
    explicit CShortTexts(std::string& line) : m_line(line) {}

    CShortTexts& operator<<(std::string_view text)
    {
        m_end = std::copy(text.begin(), text.end(), m_end);
        return *this;
    }

    CShortTexts& operator<<(std::uint64_t number)
    {
        char digits[20];
        return *this << std::string_view(
                   digits, static_cast<std::size_t>(std::to_chars(digits, std::end(digits), number).ptr - digits));
    }

    /// Adds "0x" and at least three hexadecimal digits.
    CShortTexts& AddCode(std::uint32_t code)
    {
        *this << "0x";
        if (code < 0x100)
            *m_end++ = '0';
        if (code < 0x10)
            *m_end++ = '0';
        char digits[8];
        return *this << std::string_view(
                   digits, static_cast<std::size_t>(std::to_chars(digits, std::end(digits), code, 16).ptr - digits));
    }

    void Append()
    {
        m_line.append(m_text, m_end);
        m_end = m_text;
    }

private:
    std::string& m_line;
    char m_text[256]; ///< enough for the keys, numbers and names that are added between two calls of Append
    char* m_end = m_text;
};

bool StartsLikeJson(std::string_view text)
{
    constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        text.remove_prefix(kByteOrderMark.size());
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start != std::string_view::npos && (text[start] == '{' || text[start] == '[');
}

/// Appends the payload as "body" if it is JSON that ReadJson can read as a member of the line.
bool AppendJson(std::string& line, const STrafficRecord& record)
{
    if (!StartsLikeJson(record.payload))
        return false;
    const auto bytes = QByteArray::fromRawData(record.payload.data(), static_cast<int>(record.payload.size()));
    const std::size_t before = line.size();
    line += R"(,"body":)";
    if (MayHaveSecret(record.payload)) {
        const QJsonDocument json = ReadJson(bytes);
        const QJsonValue hidden = Hide(json.isArray() ? QJsonValue(json.array()) : json.object());
        const QByteArray text =
            (hidden.isArray() ? QJsonDocument(hidden.toArray()) : QJsonDocument(hidden.toObject())).toJson();
        if (!json.isNull() && AppendCompactJson(line, {text.data(), static_cast<std::size_t>(text.size())}))
            return true;
        // Keys are unique in what the host writes.
    } else if ((record.from == STrafficRecord::From::Host || CJsonScan(bytes).Run()) &&
               AppendCompactJson(line, record.payload)) {
        return true;
    }
    line.resize(before);
    return false;
}

void AppendBytes(std::string& line, std::string_view bytes)
{
    line += R"(,"bytes":")";
    line += QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())).toBase64().toStdString();
    line += '"';
}

void AppendEntry(std::string& line, const char* key, const QString& text)
{
    line += ",\"";
    line += key;
    line += "\":";
    AppendText(line, text.toStdString());
}

void AppendPayload(std::string& line, const STrafficRecord& record)
{
    const std::string_view payload = record.payload;
    if (payload.size() >= Envelope::kIdHeaderBytes &&
        payload.compare(0, Envelope::kMarkBytes, Envelope::kIdMark) == 0 && !HasSecretKey(payload)) {
        const QUuid id = QUuid::fromRfc4122(QByteArray(payload.data() + Envelope::kMarkBytes, 16));
        AppendEntry(line, "id", id.toString(QUuid::WithoutBraces));
        AppendBytes(line, payload.substr(Envelope::kIdHeaderBytes));
        return;
    }
    if (payload.empty() || AppendJson(line, record))
        return;
    const QByteArray bytes(payload.data(), static_cast<int>(payload.size()));
    const QString text = QString::fromUtf8(bytes);
    const bool isText = text.toUtf8() == bytes;
    if (StartsLikeJson(payload) ? MayHaveSecret(payload) : !isText && HasSecretKey(payload))
        AppendEntry(line, "text", kHidden);
    else if (isText)
        AppendEntry(line, "text", HideWords(text));
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

QString NoteOf(const STrafficRecord& record)
{
    const std::string text = record.kind == STrafficRecord::Kind::Listening ? "listens on " + record.text : record.text;
    return HideWords(QString::fromStdString(text));
}

} // namespace

std::string RecordLine::HeaderOf(const std::string& program, std::chrono::system_clock::time_point started)
{
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(started.time_since_epoch()).count();
    const QString time = QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs);
    std::string line = R"({"recording":1)";
    AppendEntry(line, "contract", ZENTRAVOX_CONTRACT_VERSION);
    AppendEntry(line, "program", QString::fromStdString(program));
    AppendEntry(line, "started", time);
    return line + '}';
}

void RecordLine::Append(std::string& line, const STrafficRecord& record, std::chrono::steady_clock::time_point started)
{
    constexpr std::uint64_t kSecond = 1'000'000;
    const auto us = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(record.time - started).count());
    CShortTexts texts(line);
    texts << R"({"n":)" << record.number << R"(,"t":)" << us / kSecond << ".";
    for (std::uint64_t unit = kSecond / 10; unit > 1 && us % kSecond < unit; unit /= 10)
        texts << "0";
    texts << us % kSecond << R"(,"channel":")" << NameOf(record.channel) << R"(","connection":)" << record.connection
          << R"(,"peer":)";
    texts.Append();
    const bool isAscii = std::all_of(record.peer.begin(), record.peer.end(), [](unsigned char c) { return c < 0x80; });
    // The name of a port can be invalid UTF-8.
    if (isAscii)
        AppendText(line, record.peer);
    else
        AppendText(line, QString::fromStdString(record.peer).toStdString());
    texts << R"(,"from":")" << (IsFromRemote(record) ? "remote" : "host") << R"(","kind":")" << NameOf(record.kind)
          << "\"";
    if (record.kind != STrafficRecord::Kind::Message) {
        texts.Append();
        if (!record.text.empty())
            AppendEntry(line, "note", NoteOf(record));
        line += '}';
        return;
    }
    const std::uint32_t code = record.code & ~Command::kReplyBit;
    if (code != 0) {
        texts << R"(,"code":")";
        texts.AddCode(code) << "\"";
        if (const char* const name = Command::NameOf(code))
            texts << R"(,"name":")" << name << "\"";
    }
    if (record.replyTo != 0)
        texts << R"(,"replyTo":)" << record.replyTo;
    texts << R"(,"size":)" << std::uint64_t{record.wireBytes};
    texts.Append();
    if (!record.text.empty())
        AppendEntry(line, "note", NoteOf(record));
    AppendPayload(line, record);
    line += '}';
}

std::string RecordLine::LineOf(const STrafficRecord& record, std::chrono::steady_clock::time_point started)
{
    std::string line;
    Append(line, record, started);
    return line;
}
