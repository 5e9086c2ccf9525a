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

/// The order of the members of an object: their indexes in CReply::m_members.
struct SOrder {
    int count = 0;
    std::array<unsigned char, kUsualMembers> indexes = {};
};

/// The order of the object that this thread has sorted last. The objects of a list have the same members, so that it is
/// usually that of the next object too: checking it is cheaper than sorting.
thread_local SOrder t_lastOrder;

bool IsSorted(const Members& members)
{
    const auto isNotLess = [](const auto* a, const auto* b) { return !(a->key < b->key); };
    return std::adjacent_find(members.begin(), members.end(), isNotLess) == members.end();
}

void Remember(const Members& sorted, const std::vector<CReply::SMember>& members)
{
    const auto count = static_cast<std::size_t>(sorted.size());
    if (count != members.size() || count > t_lastOrder.indexes.size())
        return;
    t_lastOrder.count = sorted.size();
    std::transform(sorted.begin(), sorted.end(), t_lastOrder.indexes.begin(),
                   [&](const CReply::SMember* member) { return static_cast<unsigned char>(member - members.data()); });
}

/// Returns the members in the order of the text, without those that are replaced by a later one.
Members InOrder(const std::vector<CReply::SMember>& members)
{
    const int count = static_cast<int>(members.size());
    Members sorted(count);
    for (int i = 0; i < count; ++i) {
        const std::size_t index =
            count == t_lastOrder.count ? t_lastOrder.indexes[static_cast<std::size_t>(i)] : static_cast<std::size_t>(i);
        sorted[i] = &members[index];
    }
    if (IsSorted(sorted))
        return sorted;
    // The last one of those with the same key comes first.
    std::sort(sorted.begin(), sorted.end(),
              [](const auto* a, const auto* b) { return a->key < b->key || (a->key == b->key && a > b); });
    const auto end =
        std::unique(sorted.begin(), sorted.end(), [](const auto* a, const auto* b) { return a->key == b->key; });
    sorted.resize(static_cast<int>(end - sorted.begin()));
    Remember(sorted, members);
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
    WriteArray(*values.Items());
}

void CReplyWriter::WriteArray(const IReplyItems& items)
{
    Open('[');
    const std::size_t count = items.Count();
    for (std::size_t index = 0; index < count; ++index) {
        StartItem();
        items.WriteItem(*this, index);
    }
    Close(']');
}

void CReplyWriter::Write(const CReply& reply)
{
    Open('{');
    if (reply.m_numbered)
        WriteNumbered(*reply.m_numbered, 0);
    if (reply.m_hasBody) {
        WriteBody(reply);
    } else {
        for (const CReply::SMember* member : InOrder(reply.m_members)) {
            StartMember(member->key.Text());
            WriteValue(member->value);
        }
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
        items.WriteItem(*this, index);
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
