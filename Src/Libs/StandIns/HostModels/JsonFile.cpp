#include "HostModels/JsonFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace {

[[noreturn]] void FailFile(const QString& file, const QString& reason)
{
    throw CFileError((file + QStringLiteral(": ") + reason).toStdString());
}

} // namespace

QJsonObject ReadJsonObject(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        FailFile(path, file.errorString());
    const QByteArray text = file.readAll();

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        const int line = 1 + static_cast<int>(text.left(error.offset).count('\n'));
        FailFile(path, QStringLiteral("line %1: %2").arg(line).arg(error.errorString()));
    }
    if (!document.isObject())
        FailFile(path, QStringLiteral("the top level is no object"));
    return document.object();
}

CJsonObjectReader::CJsonObjectReader(const QString& file) : CJsonObjectReader(file, {}, ReadJsonObject(file)) {}

CJsonObjectReader::CJsonObjectReader(QString file, QString place, QJsonObject object)
    : m_file(std::move(file)), m_place(std::move(place)), m_object(std::move(object))
{}

void CJsonObjectReader::AllowOnly(std::initializer_list<const char*> keys) const
{
    const QStringList present = m_object.keys();
    for (const QString& key : present) {
        const bool known = std::any_of(keys.begin(), keys.end(), [&](const char* allowed) { return key == allowed; });
        if (!known)
            Fail(PlaceOf(key.toUtf8().constData()), QStringLiteral("there is no such setting"));
    }
}

QString CJsonObjectReader::Text(const char* key, const QString& otherwise) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    if (!value.isString())
        Fail(PlaceOf(key), QStringLiteral("must be a text"));
    return value.toString();
}

bool CJsonObjectReader::Flag(const char* key, bool otherwise) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    if (!value.isBool())
        Fail(PlaceOf(key), QStringLiteral("must be true or false"));
    return value.toBool();
}

int CJsonObjectReader::Number(const char* key, int otherwise) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    // toInt gives its argument for what is no number or no whole one.
    if (value.toInt(0) != value.toInt(1))
        Fail(PlaceOf(key), QStringLiteral("must be a whole number"));
    return value.toInt();
}

int CJsonObjectReader::Port(const char* key, int otherwise) const
{
    if (!m_object.contains(QLatin1String(key)))
        return otherwise;
    const int port = Number(key, 0);
    if (port < 1 || port > 65535)
        Fail(PlaceOf(key), QStringLiteral("must be a port, from 1 to 65535"));
    return port;
}

QString CJsonObjectReader::RequiredText(const char* key) const
{
    const QString text = Text(key, {});
    if (text.isEmpty())
        Fail(PlaceOf(key), QStringLiteral("is missing or empty"));
    return text;
}

CJsonObjectReader CJsonObjectReader::Object(const char* key) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (!value.isUndefined() && !value.isObject())
        Fail(PlaceOf(key), QStringLiteral("must be an object"));
    return {m_file, PlaceOf(key), value.toObject()};
}

std::vector<CJsonObjectReader> CJsonObjectReader::Objects(const char* key) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (!value.isUndefined() && !value.isArray())
        Fail(PlaceOf(key), QStringLiteral("must be a list"));
    const QJsonArray array = value.toArray();
    std::vector<CJsonObjectReader> objects;
    for (int i = 0; i < array.size(); ++i) {
        const QString place = QStringLiteral("%1[%2]").arg(PlaceOf(key)).arg(i);
        if (!array[i].isObject())
            Fail(place, QStringLiteral("must be an object"));
        objects.push_back({m_file, place, array[i].toObject()});
    }
    return objects;
}

void CJsonObjectReader::Fail(const QString& place, const QString& reason) const
{
    FailFile(m_file, place + QStringLiteral(": ") + reason);
}

QString CJsonObjectReader::PlaceOf(const char* key) const
{
    const QString name = QString::fromUtf8(key);
    return m_place.isEmpty() ? name : m_place + QLatin1Char('.') + name;
}
