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
    const std::string text = Base64Encode(jpeg.constData(), static_cast<unsigned int>(jpeg.size()));
    return CReply{{"type", type}, {"id", id}, {"data", QString::fromStdString(text)}}.Text().toStdString();
}
