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

/// A file that can't be used. what() is for people: file, place in it, reason.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The top-level object of a JSON file. Throws CFileError.
QJsonObject ReadJsonObject(const QString& file);
/// Writes the file as a whole and to the disk, or leaves it as it was. A new file is readable by its owner only. False
/// when it can't be written; the first failure in a row is logged, and that it works again.
bool KeepJsonObject(const QString& file, const QJsonObject& object);

/// One object of a JSON file, read with checks: every failure is a CFileError that names the file and the place.
class CJsonObjectReader {
public:
    /// Reads the file's top-level object.
    explicit CJsonObjectReader(const QString& file);
    /// Reads an object that has come from somewhere else, which stands in place of the file's name.
    CJsonObjectReader(const QString& source, const QJsonObject& object) : CJsonObjectReader(source, {}, object) {}

    /// Fails on a key that nobody reads, which is most often a misspelt one.
    void AllowOnly(std::initializer_list<const char*> keys) const;

    // The value under the key, or the given one when the key is absent.
    QString Text(const char* key, const QString& otherwise) const;
    bool Flag(const char* key, bool otherwise) const;
    int Number(const char* key, int otherwise, int least = std::numeric_limits<int>::min(),
               int most = std::numeric_limits<int>::max()) const;
    float Real(const char* key, double otherwise, double least, double most) const;
    /// From 0 on.
    std::int64_t Milliseconds(const char* key, std::int64_t otherwise) const;
    /// "#1b2a41" or one of the names that CSS knows.
    QColor Color(const char* key, const QColor& otherwise) const;
    /// The place of the text under the key among the given ones.
    int Choice(const char* key, int otherwise, std::initializer_list<const char*> texts) const;
    QUuid Id(const char* key, const QUuid& otherwise) const;
    /// An absolute path; in the file it may be relative to the file's folder.
    QString Path(const char* key, const QString& otherwise) const;
    /// Fails when the key is absent or its text empty.
    QString RequiredText(const char* key) const;
    QUuid RequiredId(const char* key) const;
    /// An absent object reads as an empty one, an absent list as an empty one.
    CJsonObjectReader Object(const char* key) const;
    std::vector<CJsonObjectReader> Objects(const char* key) const;

    [[noreturn]] void Fail(const char* key, const QString& reason) const;
    const QJsonObject& Json() const { return m_object; }
    bool Has(const char* key) const { return m_object.contains(QLatin1String(key)); }

private:
    CJsonObjectReader(QString file, QString place, QJsonObject object);
    double CheckedNumber(const char* key, double otherwise, double least, double most) const;
    [[noreturn]] void FailAt(const QString& place, const QString& reason) const;
    QString PlaceOf(const char* key) const;

    QString m_file;
    QString m_place; ///< "ftp" or "scenes[3].media[0]"; empty for the top
    QJsonObject m_object;
};
