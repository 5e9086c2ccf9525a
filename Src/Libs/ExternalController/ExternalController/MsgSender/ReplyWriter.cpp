#include "ExternalController/MsgSender/ReplyWriter.h"

#include "ExternalController/MsgSender/Reply.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr std::size_t kIndentSpaces = 4;
/// More members than the objects in lists have.
constexpr int kUsualMembers = 48;

using Members = QVarLengthArray<const CReply::SMember*, kUsualMembers>;

/// Returns the members in the order of the text, without those that are replaced by a later one.
Members InOrder(const std::vector<CReply::SMember>& members)
{
    Members sorted;
    bool isSorted = true;
    for (const CReply::SMember& member : members) {
        isSorted = isSorted && (sorted.isEmpty() || sorted.last()->key < member.key);
        sorted.append(&member);
    }
    if (isSorted)
        return sorted;
    // The last one of those with the same key comes first.
    std::sort(sorted.begin(), sorted.end(),
              [](const auto* a, const auto* b) { return a->key < b->key || (a->key == b->key && a > b); });
    const auto end =
        std::unique(sorted.begin(), sorted.end(), [](const auto* a, const auto* b) { return a->key == b->key; });
    sorted.resize(static_cast<int>(end - sorted.begin()));
    return sorted;
}

} // namespace

void CReplyWriter::Write(const QStringList& values)
{
    Open('[');
    for (const QString& value : values) {
        StartItem();
        Write(value);
    }
    Close(']');
}

void CReplyWriter::Write(const QJsonObject& values)
{
    Open('{');
    for (auto member = values.begin(); member != values.end(); ++member) {
        StartMember(member.key());
        WriteJson(member.value());
    }
    Close('}');
}

void CReplyWriter::Write(const CReplyArray& values)
{
    const IReplyItems& items = *values.m_items;
    Open('[');
    for (std::size_t index = 0; index < items.Count(); ++index) {
        StartItem();
        items.Write(*this, index);
    }
    Close(']');
}

void CReplyWriter::Write(const CReply& reply)
{
    Open('{');
    if (reply.m_numbered)
        WriteNumbered(*reply.m_numbered, 0);
    if (reply.m_body.isEmpty()) {
        for (const CReply::SMember* member : InOrder(reply.m_members)) {
            StartMember(member->key.Text());
            WriteValue(member->value);
        }
    } else {
        WriteBody(reply);
    }
    Close('}');
}

void CReplyWriter::Write(const std::shared_ptr<const IReplyPart>& part)
{
    part->Write(*this);
}

void CReplyWriter::WriteValue(const ReplyValue& value)
{
    std::visit([this](const auto& held) { Write(held); }, value);
}

QByteArray CReplyWriter::Take()
{
    m_text.Add("\n");
    return m_text.Take();
}

void CReplyWriter::WriteJson(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        Write(value.toBool());
        break;
    case QJsonValue::Double:
        Write(value.toDouble());
        break;
    case QJsonValue::String:
        Write(value.toString());
        break;
    case QJsonValue::Object:
        Write(value.toObject());
        break;
    case QJsonValue::Array: {
        const QJsonArray items = value.toArray();
        Open('[');
        for (const QJsonValue& item : items) {
            StartItem();
            WriteJson(item);
        }
        Close(']');
        break;
    }
    default:
        m_text.Add("null");
    }
}

/// Writes the members of a request's body, with the values that the reply has set.
void CReplyWriter::WriteBody(const CReply& reply)
{
    const auto& members = reply.m_members;
    for (auto ofBody = reply.m_body.begin(); ofBody != reply.m_body.end(); ++ofBody) {
        const QString key = ofBody.key();
        const auto set = std::find_if(members.rbegin(), members.rend(),
                                      [&](const CReply::SMember& member) { return member.key.Latin1() == key; });
        StartMember(key);
        if (set != members.rend())
            WriteValue(set->value);
        else
            WriteJson(ofBody.value());
    }
}

/// Writes the members with ten indexes from first on. Each is followed by those with larger indexes that begin with its
/// digits: this is the order of their keys.
void CReplyWriter::WriteNumbered(const IReplyItems& items, std::size_t first)
{
    const std::size_t count = items.Count();
    for (std::size_t index = first; index < first + 10 && index < count; ++index) {
        std::array<char, 20> digits;
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), index).ptr;
        StartMember(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())));
        items.Write(*this, index);
        if (index > 0 && index <= (count - 1) / 10)
            WriteNumbered(items, index * 10);
    }
}

void CReplyWriter::Open(char bracket)
{
    m_text.Add({&bracket, 1});
    m_text.Add("\n");
    m_indent += kIndentSpaces;
    m_isFirst = true;
}

void CReplyWriter::StartItem()
{
    if (!m_isFirst)
        m_text.Add(",\n");
    m_isFirst = false;
    m_text.AddSpaces(m_indent);
}

void CReplyWriter::StartMember(std::string_view key)
{
    m_text.StartMember(m_isFirst, m_indent, key);
    m_isFirst = false;
}

void CReplyWriter::StartMember(const QString& key)
{
    StartItem();
    m_text.AddString(key);
    m_text.Add(": ");
}

void CReplyWriter::Close(char bracket)
{
    if (!m_isFirst)
        m_text.Add("\n");
    m_indent -= kIndentSpaces;
    m_text.AddSpaces(m_indent);
    m_text.Add({&bracket, 1});
    m_isFirst = false; // of the enclosing array or object
}
