#include "ShowRemote/Contract.h"

#include "Comm/PayloadText.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ShowRemote/Console/Failure.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>

#include <algorithm>

namespace {

const QJsonObject& Text()
{
    static const QJsonObject contract = [] {
        QFile file(":/Contract.json");
        file.open(QIODevice::ReadOnly); // a resource of this program
        return ReadJson(file.readAll()).object();
    }();
    return contract;
}

QJsonObject MessageOf(unsigned int code)
{
    static const QJsonArray messages = Text()["messages"].toArray();
    for (const QJsonValue& message : messages) {
        if (message["code"].toString().toUInt(nullptr, 0) == code)
            return message.toObject();
    }
    return {};
}

/// The reply's code and route. Alternatives, of which the host sends one, have the same.
QString PlaceOf(const QJsonObject& reply)
{
    return reply["code"].toString() + '/' + QString::number(reply["route"].toInt());
}

/// Adds the keys whose schema has "varies".
void AddVaryingKeys(const QJsonValue& schema, QSet<QString>& keys)
{
    const QString reference = schema["$ref"].toString();
    if (!reference.isEmpty())
        AddVaryingKeys(Text()["$defs"][reference.section('/', -1)], keys);
    const QJsonArray elements = schema.toArray();
    for (const QJsonValue& element : elements)
        AddVaryingKeys(element, keys);
    const QJsonObject object = schema.toObject();
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        if (entry.value()["varies"].toBool())
            keys.insert(entry.key());
        AddVaryingKeys(entry.value(), keys);
    }
}

} // namespace

QSet<QString> Contract::VaryingKeys(unsigned int code)
{
    static QHash<unsigned int, QSet<QString>> known;
    if (const auto found = known.constFind(code); found != known.constEnd())
        return *found;
    QSet<QString> keys;
    AddVaryingKeys(MessageOf(code), keys);
    known.insert(code, keys);
    return keys;
}

bool Contract::IsNotice(unsigned int code)
{
    return MessageOf(code).contains("notice");
}

std::optional<std::vector<QJsonObject>> Contract::RepliesTo(const char* asker, unsigned int code)
{
    const QJsonObject message = MessageOf(code);
    const QJsonValue promised = message[asker].toObject()["replies"];
    if (!promised.isArray())
        return std::nullopt;
    const QJsonArray entries = promised.toArray();
    std::vector<QJsonObject> replies;
    for (const QJsonValue& value : entries) {
        const QJsonObject reply = value.toObject();
        const bool isThere = std::any_of(replies.begin(), replies.end(),
                                         [&](const QJsonObject& other) { return PlaceOf(other) == PlaceOf(reply); });
        const QJsonValue many = reply["many"];
        // Any number may be sent, also none.
        if (isThere || many.toBool())
            continue;
        replies.insert(replies.end(), static_cast<std::size_t>(std::max(many.toInt(), 1)), reply);
    }
    return replies;
}

QString Contract::RefusalOf(const QString& resultText)
{
    if (resultText.isEmpty() || resultText.toStdString() == ResultTextMap.at(ResultText::Success))
        return {};
    return "the host refused the request: " + PayloadText(resultText.left(kMaxShownCharacters).toUtf8());
}
