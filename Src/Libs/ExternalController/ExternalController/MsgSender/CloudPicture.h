#pragma once

#include "ExternalController/Common/Base64.h"
#include "ExternalController/Common/Picture.h"
#include "ExternalController/MsgSender/Reply.h"

#include <string>

/// A QImage or QPixmap as the cloud takes it: a JPEG in base64, with what it shows.
template <class Picture>
std::string CloudPicture(const char* type, const QString& id, const Picture& picture)
{
    const QByteArray jpeg = Encode(picture, "jpg");
    const std::string data = Base64Encode(jpeg.constData(), static_cast<unsigned int>(jpeg.size()));
    // Base64 needs no escapes. It goes into the finished text, which spares it the way through JSON values.
    std::string message = CReply{{"data", ""}, {"id", id}, {"type", type}}.Text().toStdString();
    return message.insert(message.find(R"("")") + 1, data);
}
