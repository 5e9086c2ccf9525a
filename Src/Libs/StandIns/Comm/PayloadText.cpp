#include "Comm/PayloadText.h"

#include <algorithm>

namespace {

bool NeedsEscape(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format: {
        constexpr char16_t kZeroWidthNonJoiner = 0x200c;
        constexpr char16_t kZeroWidthJoiner = 0x200d;
        return character.unicode() != kZeroWidthNonJoiner && character.unicode() != kZeroWidthJoiner;
    }
    default:
        return false;
    }
}

QString Escaped(QChar character)
{
    if (character == QLatin1Char('\r'))
        return QStringLiteral("\\r");
    if (character == QLatin1Char('\n'))
        return QStringLiteral("\\n");
    const ushort code = character.unicode();
    return code < 0x100 ? QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'))
                        : QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
}

bool IsPrintableAscii(char byte)
{
    return byte >= ' ' && byte <= '~';
}

} // namespace

QString LineText(const QString& text)
{
    if (std::none_of(text.begin(), text.end(), NeedsEscape))
        return text;
    QString line;
    for (const QChar character : text)
        line += NeedsEscape(character) ? Escaped(character) : QString(character);
    return line;
}

std::string LineText(const std::string& text)
{
    if (std::all_of(text.begin(), text.end(), IsPrintableAscii))
        return text;
    return LineText(QString::fromStdString(text)).toStdString();
}

QString PayloadText(const QByteArray& payload)
{
    return LineText(QString::fromUtf8(payload).replace(QLatin1Char('\\'), QLatin1String("\\\\")));
}

std::string TrafficText(const std::string& payload)
{
    return std::to_string(payload.size()) + " bytes: " + PayloadText(QByteArray::fromStdString(payload)).toStdString();
}
