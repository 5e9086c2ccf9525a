#include "ExternalController/MsgSender/Reply.h"

#include <QJsonDocument>

QByteArray CReply::Text() const
{
    return QJsonDocument(m_object).toJson();
}

QByteArray CReply::TakeText() &&
{
    QByteArray text = Text();
    m_object = {};
    return text;
}
