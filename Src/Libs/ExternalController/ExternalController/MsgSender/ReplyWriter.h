#pragma once

#include "ExternalController/Common/JsonText.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <variant>

class CReply;
class CReplyArray;
class IReplyItems;
class IReplyPart;
class QJsonObject;
class QJsonValue;
class QStringList;

/// ASCII text that JSON doesn't escape, such as base64. It is not copied: it must outlive the reply.
struct SPlainText {
    std::string_view text;
};

/// An id that is written with braces, unlike a QUuid.
struct SBracedId {
    QUuid id;
};

/// The value of a member of a reply.
using ReplyValue =
    std::variant<bool, std::int64_t, double, QString, QUuid, SPlainText, std::shared_ptr<const IReplyPart>>;

/// Writes the JSON text of a reply, indented as QJsonDocument::toJson indents it.
class CReplyWriter {
public:
    void Write(bool value) { m_text.AddBool(value); }
    void Write(std::int64_t value) { m_text.AddInteger(value); }
    void Write(double value) { m_text.AddDouble(value); }
    void Write(const QString& value) { m_text.AddString(value); }
    void Write(const QUuid& value) { m_text.AddUuid(value); }
    void Write(const SBracedId& value) { m_text.AddBracedUuid(value.id); }
    void Write(const SPlainText& value) { m_text.AddPlainString(value.text); }
    void Write(const QStringList& values);
    void Write(const QJsonObject& values);
    void Write(const CReplyArray& values);
    void WriteArray(const IReplyItems& items);
    void Write(const CReply& reply);

    /// Ends the text and returns it. Nothing can be written afterwards.
    QByteArray Take();

private:
    void Write(const std::shared_ptr<const IReplyPart>& part);
    void WriteValue(const ReplyValue& value);
    void WriteJson(const QJsonValue& value);
    void WriteBody(const CReply& reply);
    void WriteNumbered(const IReplyItems& items, std::size_t first);
    void Open(char bracket);
    void StartItem();
    void StartMember(std::string_view key);
    void StartMember(const QString& key);
    void Close(char bracket);

    CJsonText m_text;
    std::size_t m_indent = 0;
    bool m_isFirst = true; ///< no item has been written into the innermost array or object
};
