#include "HostModels/Files/JsonFile.h"

#include "ExternalController/Common/JsonReader.h"
#include "Log/WriteFailures.h"
#include "Platform/Files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

/// 100 days: longer than any show, and exact as a double.
constexpr double kMaxMilliseconds = 100.0 * 24 * 60 * 60 * 1000;

[[noreturn]] void FailFile(const QString& file, const QString& reason)
{
    throw CFileError((file + QStringLiteral(": ") + reason).toStdString());
}

/// Continues after a partial write, so that the file's error is that of the part which can't be written.
bool WriteAll(QFileDevice& file, const QByteArray& bytes)
{
    int written = 0;
    while (written < bytes.size()) {
        const qint64 some = file.write(bytes.constData() + written, bytes.size() - written);
        if (some <= 0)
            return false;
        written += static_cast<int>(some);
    }
    return true;
}

} // namespace

QJsonObject ReadJsonObject(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        FailFile(path, file.errorString());
    const QByteArray text = file.readAll();

    SJsonError error;
    const QJsonDocument document = ReadJson(text, &error);
    if (document.isNull()) {
        const int line = 1 + static_cast<int>(text.left(error.offset).count('\n'));
        FailFile(path, QStringLiteral("line %1: %2").arg(line).arg(error.reason));
    }
    if (!document.isObject())
        FailFile(path, QStringLiteral("the top level is not an object"));
    return document.object();
}

bool KeepJsonObject(const QString& path, const QJsonObject& object)
{
    QSaveFile file(path);
    const bool isNew = !QFileInfo::exists(path);
    // With a buffer, a full disk would be detected only in commit(), which would still replace the old file by an empty
    // one.
    bool kept = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    if (kept && isNew)
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    kept = kept && WriteAll(file, QJsonDocument(object).toJson()) && FlushToDisk(file.handle()) && file.commit();
    if (kept) {
        FlushFolderToDisk(QFileInfo(path).absolutePath().toStdString());
        WriteFailures::Succeeded(path);
    } else {
        WriteFailures::Failed(path, file.errorString());
    }
    return kept;
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
            Fail(key.toUtf8().constData(), QStringLiteral("unknown key"));
    }
}

QString CJsonObjectReader::Text(const char* key, const QString& otherwise) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    if (!value.isString())
        Fail(key, QStringLiteral("must be a string"));
    return value.toString();
}

bool CJsonObjectReader::Flag(const char* key, bool otherwise) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    if (!value.isBool())
        Fail(key, QStringLiteral("must be true or false"));
    return value.toBool();
}

int CJsonObjectReader::Number(const char* key, int otherwise, int minimum, int maximum) const
{
    const double number = CheckedNumber(key, otherwise, minimum, maximum);
    if (number != std::floor(number))
        Fail(key, QStringLiteral("must be a whole number"));
    return static_cast<int>(number);
}

float CJsonObjectReader::Real(const char* key, double otherwise, double minimum, double maximum) const
{
    return static_cast<float>(CheckedNumber(key, otherwise, minimum, maximum));
}

std::int64_t CJsonObjectReader::Milliseconds(const char* key, std::int64_t otherwise) const
{
    const double number = CheckedNumber(key, static_cast<double>(otherwise), 0, kMaxMilliseconds);
    if (number != std::floor(number))
        Fail(key, QStringLiteral("must be a whole number"));
    return static_cast<std::int64_t>(number);
}

QColor CJsonObjectReader::Color(const char* key, const QColor& otherwise) const
{
    if (!Has(key))
        return otherwise;
    QColor color(RequiredText(key));
    if (!color.isValid())
        Fail(key, QStringLiteral("must be a colour such as \"#1b2a41\""));
    return color;
}

int CJsonObjectReader::Choice(const char* key, int otherwise, std::initializer_list<const char*> texts) const
{
    if (!Has(key))
        return otherwise;
    const QString text = Text(key, {});
    QStringList choices;
    for (const char* choice : texts) {
        if (text == QLatin1String(choice))
            return choices.size();
        choices.append(QStringLiteral("\"%1\"").arg(choice));
    }
    Fail(key, QStringLiteral("must be one of ") + choices.join(QStringLiteral(", ")));
}

QUuid CJsonObjectReader::Id(const char* key, const QUuid& otherwise) const
{
    return Has(key) ? RequiredId(key) : otherwise;
}

QString CJsonObjectReader::Path(const char* key, const QString& otherwise) const
{
    const QString path = Text(key, {});
    return path.isEmpty() ? otherwise : QDir::cleanPath(QFileInfo(m_file).absoluteDir().absoluteFilePath(path));
}

QUuid CJsonObjectReader::RequiredId(const char* key) const
{
    const QString text = RequiredText(key);
    const QUuid id(text);
    // QUuid ignores characters after the id.
    const bool whole = text.compare(id.toString(), Qt::CaseInsensitive) == 0 ||
                       text.compare(id.toString(QUuid::WithoutBraces), Qt::CaseInsensitive) == 0;
    if (id.isNull() || !whole)
        Fail(key, QStringLiteral("must be an id such as \"1b4e28ba-2fa1-4d3e-a3c5-7b0e4a659c13\""));
    return id;
}

QString CJsonObjectReader::RequiredText(const char* key) const
{
    QString text = Text(key, {});
    if (text.isEmpty())
        Fail(key, QStringLiteral("is missing or empty"));
    return text;
}

CJsonObjectReader CJsonObjectReader::Object(const char* key) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (!value.isUndefined() && !value.isObject())
        Fail(key, QStringLiteral("must be an object"));
    return {m_file, PlaceOf(key), value.toObject()};
}

std::vector<CJsonObjectReader> CJsonObjectReader::Objects(const char* key) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (!value.isUndefined() && !value.isArray())
        Fail(key, QStringLiteral("must be an array"));
    const QJsonArray array = value.toArray();
    std::vector<CJsonObjectReader> objects;
    for (int i = 0; i < array.size(); ++i) {
        const QString place = QStringLiteral("%1[%2]").arg(PlaceOf(key)).arg(i);
        if (!array[i].isObject())
            FailAt(place, QStringLiteral("must be an object"));
        objects.push_back({m_file, place, array[i].toObject()});
    }
    return objects;
}

/// Returns the number of the key, or `otherwise` if the key is absent.
double CJsonObjectReader::CheckedNumber(const char* key, double otherwise, double minimum, double maximum) const
{
    const QJsonValue value = m_object[QLatin1String(key)];
    if (value.isUndefined())
        return otherwise;
    if (!value.isDouble())
        Fail(key, QStringLiteral("must be a number"));
    const double number = value.toDouble();
    if (!(number >= minimum && number <= maximum))
        Fail(key, QStringLiteral("must be a number from %1 to %2").arg(minimum, 0, 'g', 12).arg(maximum, 0, 'g', 12));
    return number;
}

void CJsonObjectReader::Fail(const char* key, const QString& reason) const
{
    FailAt(PlaceOf(key), reason);
}

void CJsonObjectReader::FailAt(const QString& place, const QString& reason) const
{
    FailFile(m_file, place + QStringLiteral(": ") + reason);
}

QString CJsonObjectReader::PlaceOf(const char* key) const
{
    const QString name = QString::fromUtf8(key);
    return m_place.isEmpty() ? name : m_place + QLatin1Char('.') + name;
}
