#include "Comm/PayloadText.h"

QString PayloadText(const QByteArray& payload)
{
    QString text;
    for (const QChar character : QString::fromUtf8(payload)) {
        if (character == QLatin1Char('\r'))
            text += QLatin1String("\\r");
        else if (character == QLatin1Char('\n'))
            text += QLatin1String("\\n");
        else if (character == QLatin1Char('\\'))
            text += QLatin1String("\\\\");
        else if (character.category() == QChar::Other_Control)
            text += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        else
            text += character;
    }
    return text;
}

std::string TrafficText(const std::string& payload)
{
    return std::to_string(payload.size()) + " bytes: " + PayloadText(QByteArray::fromStdString(payload)).toStdString();
}
