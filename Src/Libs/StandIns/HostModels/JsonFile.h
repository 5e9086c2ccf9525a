#pragma once

#include <QJsonObject>
#include <QString>

#include <initializer_list>
#include <stdexcept>
#include <vector>

/// A file that can't be used. what() is for people: file, place in it, reason.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The top-level object of a JSON file. Throws CFileError.
QJsonObject ReadJsonObject(const QString& file);

/// One object of a JSON file, read with checks: every failure is a CFileError that names the file and the place.
class CJsonObjectReader {
public:
    /// Reads the file's top-level object.
    explicit CJsonObjectReader(const QString& file);

    /// Fails on a key that nobody reads, which is most often a misspelt one.
    void AllowOnly(std::initializer_list<const char*> keys) const;

    // The value under the key, or the given one when the key is absent.
    QString Text(const char* key, const QString& otherwise) const;
    bool Flag(const char* key, bool otherwise) const;
    int Number(const char* key, int otherwise) const;
    int Port(const char* key, int otherwise) const;
    /// Fails when the key is absent or its text empty.
    QString RequiredText(const char* key) const;
    /// An absent object reads as an empty one, an absent list as an empty one.
    CJsonObjectReader Object(const char* key) const;
    std::vector<CJsonObjectReader> Objects(const char* key) const;

    [[noreturn]] void Fail(const QString& place, const QString& reason) const;

private:
    CJsonObjectReader(QString file, QString place, QJsonObject object);
    QString PlaceOf(const char* key) const;

    QString m_file;
    QString m_place; ///< "ftp" or "scenes[3].media[0]"; empty for the top
    QJsonObject m_object;
};
