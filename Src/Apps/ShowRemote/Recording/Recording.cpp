#include "ShowRemote/Recording/Recording.h"

#include "Comm/Envelope.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/JsonReader.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QUuid>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

constexpr int kFormat = 1;
/// Largest integer up to which a JSON number is exact.
constexpr double kMaxExact = 9007199254740992.0;

[[noreturn]] void Fail(const QString& reason)
{
    throw CBadRecording(reason);
}

/// Reads the entries of one line.
class CLineReader {
public:
    explicit CLineReader(QJsonObject object) : m_object(std::move(object)) {}

    bool Has(const char* key) const { return m_object.contains(QLatin1String(key)); }

    QString Text(const char* key) const
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (!value.isString())
            Fail(QStringLiteral("\"%1\" must be a string").arg(key));
        return value.toString();
    }

    double Number(const char* key) const
    {
        const QJsonValue value = m_object.value(QLatin1String(key));
        if (!value.isDouble() || !(value.toDouble() >= 0) || value.toDouble() > kMaxExact)
            Fail(QStringLiteral("\"%1\" must be a number from 0 to 2^53").arg(key));
        return value.toDouble();
    }

    std::uint64_t Integer(const char* key) const
    {
        const double number = Number(key);
        if (number != std::floor(number))
            Fail(QStringLiteral("\"%1\" must be an integer").arg(key));
        return static_cast<std::uint64_t>(number);
    }

    /// Returns the index of the text in the list.
    template <std::size_t count>
    int Choice(const char* key, const char* const (&choices)[count]) const
    {
        const QString text = Text(key);
        const auto found = std::find(std::begin(choices), std::end(choices), text);
        if (found == std::end(choices))
            Fail(QStringLiteral("\"%1\" has the unknown value \"%2\"").arg(key, text));
        return static_cast<int>(std::distance(std::begin(choices), found));
    }

    QByteArray Base64(const char* key) const
    {
        const auto decoded =
            QByteArray::fromBase64Encoding(Text(key).toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            Fail(QStringLiteral("\"%1\" must be base64").arg(key));
        return decoded.decoded;
    }

    SPayload Payload() const
    {
        SPayload payload;
        if (Has("body")) {
            payload.json = m_object.value(QLatin1String("body"));
            if (!payload.json.isObject() && !payload.json.isArray())
                Fail(QStringLiteral("\"body\" must be an object or an array"));
            payload.form = SPayload::Form::Json;
            payload.bytes = (payload.json.isArray() ? QJsonDocument(payload.json.toArray())
                                                    : QJsonDocument(payload.json.toObject()))
                                .toJson(QJsonDocument::Compact);
        } else if (Has("text")) {
            payload = {SPayload::Form::Text, {}, Text("text").toUtf8()};
        } else if (Has("bytes")) {
            payload = {SPayload::Form::Bytes, {}, Base64("bytes")};
        }
        if (Has("id")) {
            const QUuid id(Text("id"));
            if (id.isNull() || payload.form != SPayload::Form::Bytes)
                Fail(QStringLiteral("\"id\" must be a UUID, with \"bytes\""));
            char length[4];
            Envelope::WriteNumber(length, static_cast<std::uint32_t>(payload.bytes.size()));
            payload.bytes.prepend(length, sizeof length);
            payload.bytes.prepend(id.toRfc4122());
            payload.bytes.prepend(Envelope::kIdMark);
        }
        return payload;
    }

private:
    const QJsonObject m_object;
};

void ReadHeader(const CLineReader& line, SRecording& recording)
{
    if (!line.Has("recording"))
        Fail(QStringLiteral("not a recording: \"recording\" is missing"));
    if (line.Integer("recording") != kFormat)
        Fail(QStringLiteral("\"recording\" must be %1").arg(kFormat));
    recording.contract = line.Text("contract");
    recording.program = line.Text("program");
    const QDateTime started = QDateTime::fromString(line.Text("started"), Qt::ISODateWithMs);
    if (!started.isValid())
        Fail(QStringLiteral("\"started\" must be a time (RFC 3339)"));
    recording.started = std::chrono::milliseconds(started.toMSecsSinceEpoch());
}

SRecordedLine ReadLine(const CLineReader& line)
{
    constexpr const char* kKinds[] = {"opened", "closed", "message", "note"};
    constexpr STrafficRecord::Kind kKindValues[] = {STrafficRecord::Kind::Opened, STrafficRecord::Kind::Closed,
                                                    STrafficRecord::Kind::Message, STrafficRecord::Kind::Note};
    constexpr const char* kFrom[] = {"host", "remote"};
    constexpr double kMicroseconds = 1e6;

    SRecordedLine record;
    record.number = line.Integer("n");
    record.time = std::chrono::microseconds(std::llround(std::min(line.Number("t") * kMicroseconds, kMaxExact)));
    record.channel = static_cast<TrafficChannel>(line.Choice("channel", kTrafficChannelNames));
    record.connection = line.Integer("connection");
    record.peer = line.Text("peer");
    record.from = static_cast<STrafficRecord::From>(line.Choice("from", kFrom));
    record.kind = kKindValues[line.Choice("kind", kKinds)];
    if (line.Has("code")) {
        bool isNumber = false;
        record.code = line.Text("code").toUInt(&isNumber, 16);
        if (!isNumber || record.code >= Command::kReplyBit)
            Fail(QStringLiteral("\"code\" must be a hexadecimal number such as \"0x005\", without the reply bit"));
    }
    if (line.Has("name"))
        record.name = line.Text("name");
    if (line.Has("replyTo"))
        record.replyTo = line.Integer("replyTo");
    if (line.Has("note"))
        record.note = line.Text("note");
    record.payload = line.Payload();
    return record;
}

} // namespace

SPayload PayloadOf(const QByteArray& bytes)
{
    if (bytes.isEmpty())
        return {};
    const QJsonDocument json = ReadJson(bytes);
    if (json.isObject())
        return {SPayload::Form::Json, json.object(), bytes};
    if (json.isArray())
        return {SPayload::Form::Json, json.array(), bytes};
    const bool isText = QString::fromUtf8(bytes).toUtf8() == bytes;
    return {isText ? SPayload::Form::Text : SPayload::Form::Bytes, {}, bytes};
}

SRecording ParseRecording(const QByteArray& text, const QString& name)
{
    SRecording recording;
    int number = 0;
    int begin = 0;
    try {
        for (int end = text.indexOf('\n'); end >= 0; end = text.indexOf('\n', begin)) {
            ++number;
            SJsonError error;
            const QJsonDocument json = ReadJson(text.mid(begin, end - begin), &error);
            if (!json.isObject())
                Fail(error.reason.isEmpty() ? QStringLiteral("not a JSON object") : error.reason);
            if (number == 1)
                ReadHeader(CLineReader(json.object()), recording);
            else
                recording.lines.push_back(ReadLine(CLineReader(json.object())));
            begin = end + 1;
        }
        if (number == 0)
            Fail(QStringLiteral("not a recording: the first line is missing"));
    } catch (const CBadRecording& error) {
        throw CBadRecording(QStringLiteral("%1:%2: %3").arg(name).arg(std::max(number, 1)).arg(error.what()));
    }
    return recording;
}

SRecording ReadRecording(const QString& file)
{
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly))
        throw CBadRecording(QStringLiteral("%1: can't read the file: %2").arg(file, input.errorString()));
    return ParseRecording(input.readAll(), file);
}
