#include "CentralControl/TextCommand.h"

#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Keywords.h"
#include "ExternalController/Common/Vocabulary.h"

#include <QJsonArray>

#include <algorithm>

namespace {

const QLatin1String kKeyword("cmd");
const QLatin1String kCode("cmdType");
const QLatin1String kErrorText("errorMsg");

/// A longer text is not a keyword. An unknown keyword is repeated in the reply, which must fit into a datagram.
constexpr int kMaxKeywordCharacters = 255;

bool IsWordCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

/// Returns a value of type Undefined when the text is neither one JSON value nor one word.
QJsonValue ReadBareKeyword(const QByteArray& text)
{
    // QJsonDocument accepts only objects and arrays as a document.
    const QJsonArray wrapped = ReadJson('[' + text + ']').array();
    if (wrapped.size() == 1)
        return wrapped[0];
    const QByteArray word = text.trimmed();
    const bool isWord = !word.isEmpty() && std::all_of(word.begin(), word.end(), IsWordCharacter);
    return isWord ? QString::fromLatin1(word) : QJsonValue(QJsonValue::Undefined);
}

QJsonObject ReadMessage(const std::string& datagram)
{
    const auto text = QByteArray::fromRawData(datagram.data(), static_cast<int>(datagram.size()));
    QJsonObject message = ReadJson(text).object();
    if (message.isEmpty())
        message.insert(kKeyword, ReadBareKeyword(text));
    return message;
}

STextCommand Refuse(const QJsonObject& message, QJsonObject refusal, ResultText::Index result)
{
    // An error is not answered with an error: two hosts, or a host and a forged sender, would exchange errors
    // indefinitely.
    if (message.contains(kErrorText))
        return {};
    refusal.insert(QLatin1String("result"), int{result});
    refusal.insert(kErrorText, QString::fromStdString(ResultTextMap.at(result)));
    return {{}, refusal};
}

} // namespace

STextCommand TextCommand::Read(const std::string& datagram)
{
    QJsonObject message = ReadMessage(datagram);
    QJsonValue value = message.value(kKeyword);
    const QString keyword = value.toString();
    if (!value.isString() || keyword.size() > kMaxKeywordCharacters)
        return Refuse(message, {}, ResultText::Format);
    value = {}; // it shares the memory of message, which insert would copy
    const auto command = CenterControlCmdMap.find(keyword);
    if (command == CenterControlCmdMap.end())
        return Refuse(message, {{kKeyword, keyword}}, ResultText::UnknownCommand);
    message.insert(kCode, command->second);
    return {std::move(message), {}};
}
