#pragma once

#include "ExternalController/Common/Picture.h"
#include "ExternalController/MsgSender/Reply.h"

#include <string>

/// Returns the JSON text of a picture message for the cloud: a JPEG in base64 with its kind and id.
///
/// \param type    the kind of picture: "clip", "chapter" or "preview"
/// \param picture a QImage or QPixmap
template <class Picture>
std::string CloudPicture(const char* type, const QString& id, const Picture& picture)
{
    const QByteArray jpeg = Encode(picture, "jpg");
    const std::string data = Base64Encode(jpeg.constData(), static_cast<unsigned int>(jpeg.size()));
    return CReply{{"data", SPlainText{data}}, {"id", id}, {"type", type}}.Text().toStdString();
}
