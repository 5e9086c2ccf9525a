#include "ShowRemote/Recording/Difference.h"

#include "Comm/PayloadText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int kMaxShownValue = 60;

QString TypeNameOf(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Null:
        return "null";
    case QJsonValue::Bool:
        return "a boolean";
    case QJsonValue::Double:
        return "a number";
    case QJsonValue::String:
        return "a string";
    case QJsonValue::Array:
        return "an array";
    case QJsonValue::Object:
        return "an object";
    case QJsonValue::Undefined:
        break;
    }
    return "missing";
}

QString FormNameOf(SPayload::Form form)
{
    constexpr const char* kNames[] = {"empty", "JSON", "text", "bytes"};
    return kNames[static_cast<int>(form)];
}

QString TextOf(const QJsonValue& value)
{
    const QByteArray text = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return PayloadText(text.mid(1, text.size() - 2).left(kMaxShownValue));
}

class CComparer {
public:
    explicit CComparer(const SComparison& comparison) : m_comparison(comparison) {}

    void Compare(const QJsonValue& recorded, const QJsonValue& received, const QString& path)
    {
        if (recorded.type() != received.type()) {
            m_differences << QStringLiteral("%1: %2 instead of %3")
                                 .arg(path, TypeNameOf(received.type()), TypeNameOf(recorded.type()));
        } else if (recorded.isObject()) {
            CompareKeys(recorded.toObject(), received.toObject(), path);
        } else if (recorded.isArray()) {
            CompareElements(recorded.toArray(), received.toArray(), path);
        } else if (m_comparison.strict && recorded != received && recorded != QJsonValue("***")) {
            m_differences << QStringLiteral("%1: %2 instead of %3").arg(path, TextOf(received), TextOf(recorded));
        }
    }

    QStringList Differences() const { return m_differences; }

private:
    void CompareKeys(const QJsonObject& recorded, const QJsonObject& received, const QString& path)
    {
        for (auto entry = recorded.begin(); entry != recorded.end(); ++entry) {
            const QString place = path + '.' + entry.key();
            const QJsonValue other = received.value(entry.key());
            if (other.isUndefined())
                m_differences << place + ": missing";
            else if (!m_comparison.varyingKeys.contains(entry.key()))
                Compare(entry.value(), other, place);
            else if (entry.value().type() != other.type())
                m_differences << QStringLiteral("%1: %2 instead of %3")
                                     .arg(place, TypeNameOf(other.type()), TypeNameOf(entry.value().type()));
        }
        for (auto entry = received.begin(); entry != received.end(); ++entry) {
            if (!recorded.contains(entry.key()))
                m_differences << path + '.' + entry.key() + ": unexpected";
        }
    }

    void CompareElements(const QJsonArray& recorded, const QJsonArray& received, const QString& path)
    {
        if (m_comparison.strict && recorded.size() != received.size())
            m_differences
                << QStringLiteral("%1: %2 elements instead of %3").arg(path).arg(received.size()).arg(recorded.size());
        for (int i = 0; i < std::min(recorded.size(), received.size()); ++i)
            Compare(recorded[i], received[i], QStringLiteral("%1[%2]").arg(path).arg(i));
    }

    const SComparison& m_comparison;
    QStringList m_differences;
};

} // namespace

QStringList DifferencesOf(const SPayload& recorded, const SPayload& received, const SComparison& comparison)
{
    if (recorded.form != received.form)
        return {QStringLiteral("$: %1 instead of %2").arg(FormNameOf(received.form), FormNameOf(recorded.form))};
    if (recorded.form == SPayload::Form::Json) {
        CComparer comparer(comparison);
        comparer.Compare(recorded.json, received.json, "$");
        return comparer.Differences();
    }
    if (comparison.strict && recorded.bytes != received.bytes)
        return {recorded.form == SPayload::Form::Text ? "$: the text differs" : "$: the data differs"};
    return {};
}
