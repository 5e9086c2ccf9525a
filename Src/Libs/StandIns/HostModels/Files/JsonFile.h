#pragma once

#include <QColor>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <vector>

/// A file, option or input is invalid. what() is a message for the user; for a file it contains the path, the position
/// in the file and the reason.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the top-level object of a JSON file.
/// \throws CFileError if the file can't be read or contains no JSON object
QJsonObject ReadJsonObject(const QString& file);
/// Replaces the file atomically and flushes it to the disk. On failure the old file is unchanged. A new file is
/// accessible by its owner only. Logs the first of consecutive failures, and the first success after a failure.
/// \return whether the file was written
bool KeepJsonObject(const QString& file, const QJsonObject& object);

/// Reads the values of a JSON object and checks them. Each function throws CFileError, with the file and the position,
/// if the value is invalid.
class CJsonObjectReader {
public:
    /// Reads the file's top-level object.
    explicit CJsonObjectReader(const QString& file);
    /// Reads an object that is not from a file.
    /// \param source used instead of the file name in error messages
    CJsonObjectReader(const QString& source, const QJsonObject& object) : CJsonObjectReader(source, {}, object) {}

    /// Fails if the object has other keys: most often a key is misspelt.
    void AllowOnly(std::initializer_list<const char*> keys) const;

    // These return the value of the key, or `otherwise` if the key is absent.
    QString Text(const char* key, const QString& otherwise) const;
    bool Flag(const char* key, bool otherwise) const;
    int Number(const char* key, int otherwise, int minimum = std::numeric_limits<int>::min(),
               int maximum = std::numeric_limits<int>::max()) const;
    float Real(const char* key, double otherwise, double minimum, double maximum) const;
    /// A whole number from 0 to 8640000000 (100 days).
    std::int64_t Milliseconds(const char* key, std::int64_t otherwise) const;
    /// "#rrggbb" or a colour name of CSS.
    QColor Color(const char* key, const QColor& otherwise) const;
    /// The index of the string in `texts`. Fails if it is not in the list.
    int Choice(const char* key, int otherwise, std::initializer_list<const char*> texts) const;
    QUuid Id(const char* key, const QUuid& otherwise) const;
    /// An absolute path. A path in the file may be relative to the file's folder.
    QString Path(const char* key, const QString& otherwise) const;
    /// Fails if the key is absent or the string is empty.
    QString RequiredText(const char* key) const;
    QUuid RequiredId(const char* key) const;
    /// An absent object or array is returned as an empty one.
    CJsonObjectReader Object(const char* key) const;
    std::vector<CJsonObjectReader> Objects(const char* key) const;

    /// Throws CFileError for the key's value.
    [[noreturn]] void Fail(const char* key, const QString& reason) const;
    const QJsonObject& Json() const { return m_object; }
    bool Has(const char* key) const { return m_object.contains(QLatin1String(key)); }

private:
    CJsonObjectReader(QString file, QString place, QJsonObject object);
    double CheckedNumber(const char* key, double otherwise, double minimum, double maximum) const;
    [[noreturn]] void FailAt(const QString& place, const QString& reason) const;
    QString PlaceOf(const char* key) const;

    QString m_file;
    QString m_place; ///< position in the file, such as "scenes[3].media[0]"; empty for the top level
    QJsonObject m_object;
};
