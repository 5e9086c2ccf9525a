#include "ExternalController/Common/JsonReader.h"

#include "ExternalController/Common/JsonScan.h"

QJsonDocument ReadJson(const QByteArray& text, SJsonError* error)
{
    CJsonScan scan(text);
    if (!scan.Run()) {
        if (error)
            *error = {scan.ErrorOffset(), scan.ErrorReason()};
        return {};
    }
    QJsonParseError qtError;
    QJsonDocument document = QJsonDocument::fromJson(text, &qtError);
    if (error)
        *error = {qtError.offset, qtError.error == QJsonParseError::NoError ? QString() : qtError.errorString()};
    return document;
}
