#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

/// Why a text was not read.
struct SJsonError {
    int offset = 0; ///< in bytes: of the offending byte or the one behind it
    QString reason; ///< such as `the key "a" comes twice`; empty when the text was read
};

/// Reads JSON from a peer, a file or a command line: every text that this program didn't write itself.
///
/// QJsonDocument::fromJson with two restrictions: arrays and objects are nested at most CJsonScan::kMaxDepth levels
/// deep, and no object has a key twice. A text that breaks one is malformed like any other. Safe to call from any
/// thread. \param text  UTF-8, with or without a byte order mark; an object or an array \param error set in every case,
/// unless null \return a null document if the text is malformed
QJsonDocument ReadJson(const QByteArray& text, SJsonError* error = nullptr);
