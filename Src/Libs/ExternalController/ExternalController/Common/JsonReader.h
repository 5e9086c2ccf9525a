#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

/// The error that ReadJson has found in a text.
struct SJsonError {
    int offset = 0; ///< in bytes: the position of the error, or the one after it
    QString reason; ///< such as `duplicate key "a"`; empty if the text was read
};

/// Parses JSON (RFC 8259) that comes from outside this program: from a peer, a file or a command line.
///
/// Calls QJsonDocument::fromJson with two additional restrictions: arrays and objects may be nested at most
/// CJsonScan::kMaxDepth levels deep, and the keys of an object must be unique. A text that violates one of them is
/// malformed. May be called from any thread.
///
/// \param text  UTF-8, with or without a byte order mark; an object or an array
/// \param error if not null, set to the error, or to an empty reason on success
/// \return the document, or a null document if the text is malformed
QJsonDocument ReadJson(const QByteArray& text, SJsonError* error = nullptr);
