#include "ExternalController/Common/JsonScan.h"

#include <QJsonParseError>
#include <QVector>

#include <algorithm>
#include <cstring>

namespace {

constexpr ushort kMaxAscii = 0x7f;

constexpr std::array<bool, 256> MakeStructural()
{
    std::array<bool, 256> table = {};
    for (const char c : {'"', '{', '}', '[', ']', ','})
        table[static_cast<unsigned char>(c)] = true;
    return table;
}

bool IsStructural(char c)
{
    static constexpr std::array<bool, 256> kTable = MakeStructural();
    return kTable[static_cast<unsigned char>(c)];
}

/// Not 0 if one of the eight bytes is c.
std::uint64_t FindByte(std::uint64_t bytes, char c)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    const std::uint64_t zeroed = bytes ^ (kOnes * static_cast<unsigned char>(c));
    return (zeroed - kOnes) & ~zeroed & (kOnes << 7);
}

/// Hashes the length and the first and last eight bytes. Keys with the same hash are easy to construct, but each such
/// pair costs only one comparison of texts.
std::uint32_t HashOf(std::string_view text)
{
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (text.size() >= sizeof head) {
        std::memcpy(&head, text.data(), sizeof head);
        std::memcpy(&tail, text.data() + text.size() - sizeof tail, sizeof tail);
    } else {
        for (const char c : text)
            head = head << 8 | static_cast<unsigned char>(c);
    }
    const std::uint64_t sum = head * 0x9e3779b97f4a7c15 + tail + text.size();
    const std::uint64_t hash = (sum ^ sum >> 32) * 0xc2b2ae3d27d4eb4f;
    return static_cast<std::uint32_t>(hash >> 32);
}

const char* FindQuoteOrBackslash(const char* at, const char* end)
{
    for (std::uint64_t bytes = 0; end - at >= 8; at += 8) {
        std::memcpy(&bytes, at, 8);
        if ((FindByte(bytes, '"') | FindByte(bytes, '\\')) != 0)
            break;
    }
    return std::find_if(at, end, [](char c) { return c == '"' || c == '\\'; });
}

/// Decodes an escape sequence. As in fromJson, a character that is not part of a known sequence represents itself. An
/// invalid \\u sequence is not detected here: fromJson reports it.
///
/// \param at position of the character after the backslash; set to the last character of the sequence
QChar ReadEscapeSequence(const QString& text, int& at)
{
    switch (text[at].unicode()) {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'u':
        at += 4;
        return text.midRef(at - 3, 4).toUShort(nullptr, 16);
    default:
        return text[at];
    }
}

} // namespace

CJsonScan::CJsonScan(const QByteArray& text)
    : m_at(text.constData())
    , m_begin(text.constData())
    , m_end(text.constData() + text.size())
    , m_hasNul(std::memchr(text.constData(), '\0', static_cast<std::size_t>(text.size())) != nullptr)
{}

bool CJsonScan::Run()
{
    for (;; ++m_at) {
        m_at = std::find_if(m_at, m_end, IsStructural);
        if (m_at == m_end || !Step())
            return m_errorReason.isEmpty();
    }
}

/// Sets m_at to the last character that was read.
bool CJsonScan::Step()
{
    switch (*m_at) {
    case '"':
        return SkipString();
    case '{':
        return Enter(m_keys.size()) && ReadKey();
    case '[':
        return Enter(kArray);
    case '}':
        return IsInObject() && Leave();
    case ']':
        return IsInArray() && Leave();
    case ',':
        return IsInArray() || (IsInObject() && ReadKey());
    default:
        return true;
    }
}

/// Moves m_at from the opening to the closing quote.
bool CJsonScan::SkipString()
{
    m_hasEscape = false;
    for (++m_at;; m_at += 2) {
        m_at = FindQuoteOrBackslash(m_at, m_end);
        if (m_at == m_end || *m_at == '"')
            return m_at != m_end;
        if (m_end - m_at < 2)
            return false;
        m_hasEscape = true;
    }
}

bool CJsonScan::Enter(int firstKey)
{
    if (m_depth == kMaxDepth)
        return Fail(m_at, QStringLiteral("nested deeper than %1 levels").arg(kMaxDepth));
    m_firstKeys[static_cast<std::size_t>(m_depth++)] = firstKey;
    return true;
}

bool CJsonScan::Leave()
{
    const int firstKey = m_firstKeys[static_cast<std::size_t>(--m_depth)];
    if (firstKey == kArray)
        return true;
    if (const SKey* repeated = FindRepeated(m_keys.data() + firstKey, m_keys.end())) {
        const std::string_view text = TextOf(*repeated);
        const QString key = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
        return Fail(repeated->quote, QStringLiteral("duplicate key \"%1\"").arg(key));
    }
    m_keys.resize(firstKey);
    return true;
}

/// Moves m_at from the brace or comma before the key to the colon after it. Before a closing brace there may be no key.
bool CJsonScan::ReadKey()
{
    const char* const quote = SkipSpace(m_at + 1);
    if (quote != m_end && *quote == '}') {
        m_at = quote - 1;
        return true;
    }
    if (quote == m_end || *quote != '"')
        return false;
    m_at = quote;
    if (!SkipString())
        return false;
    // fromJson compares keys up to the first null character.
    if (m_hasNul && std::find(quote, m_at, '\0') != m_at)
        return Fail(quote, QStringLiteral("null character in a key"));
    SKey key = {quote, static_cast<int>(m_at - quote - 1), -1, 0};
    if (m_hasEscape && !DecodeKey(key))
        return false;
    key.hash = HashOf(TextOf(key));
    m_keys.append(key);
    m_at = SkipSpace(m_at + 1);
    return m_at != m_end && *m_at == ':';
}

bool CJsonScan::DecodeKey(SKey& key)
{
    // Include the quote: fromUtf8 and fromUcs4 remove a byte order mark at the beginning of a text.
    const QString raw = QString::fromUtf8(key.quote, key.size + 1);
    QString units;
    for (int i = 0; i < raw.size(); ++i) {
        if (raw[i] != '\\')
            units += raw[i];
        else if (++i < raw.size() && raw[i].unicode() <= kMaxAscii)
            units += ReadEscapeSequence(raw, i);
        else // the result of fromJson depends on the platform
            return Fail(key.quote, QJsonParseError{0, QJsonParseError::IllegalEscapeSequence}.errorString());
    }
    // toUcs4 replaces unpaired surrogates by U+FFFD; fromJson also treats them as U+FFFD when it compares keys.
    const QVector<uint> points = units.toUcs4();
    const QByteArray decoded = QString::fromUcs4(points.constData(), points.size()).toUtf8().mid(1);
    key.decodedAt = m_decoded.size();
    key.size = decoded.size();
    m_decoded += decoded;
    return true;
}

/// Returns the second of two equal keys, or null if all keys differ. Sorts the keys.
const CJsonScan::SKey* CJsonScan::FindRepeated(SKey* first, SKey* last)
{
    if (AreHashesDifferent(first, last))
        return nullptr;
    const auto compare = [this](const SKey& a, const SKey& b) {
        ++m_comparisons;
        if (a.hash != b.hash)
            return a.hash < b.hash ? -1 : 1;
        return TextOf(a).compare(TextOf(b));
    };
    std::sort(first, last, [&](const SKey& a, const SKey& b) { return compare(a, b) < 0; });
    const SKey* const found =
        std::adjacent_find(first, last, [&](const SKey& a, const SKey& b) { return compare(a, b) == 0; });
    if (found == last)
        return nullptr;
    return found->quote < found[1].quote ? found + 1 : found;
}

/// Returns false if two hashes are equal, or if there are too many keys for the table.
bool CJsonScan::AreHashesDifferent(const SKey* first, const SKey* last)
{
    const auto count = static_cast<std::size_t>(last - first);
    if (count > kMaxTableKeys)
        return false;
    // A hash table with open addressing, at most half full. Bit 0 marks the slots in use.
    std::array<std::uint32_t, 2 * kMaxTableKeys> table;
    std::size_t size = 4;
    while (size < 2 * count)
        size *= 2;
    std::fill_n(table.begin(), size, 0);
    for (const SKey* key = first; key != last; ++key) {
        const std::uint32_t hash = key->hash | 1;
        std::size_t slot = (hash >> 1) & (size - 1);
        for (; table[slot] != 0; slot = (slot + 1) & (size - 1)) {
            ++m_comparisons;
            if (table[slot] == hash)
                return false;
        }
        table[slot] = hash;
    }
    return true;
}

std::string_view CJsonScan::TextOf(const SKey& key) const
{
    const char* const text = key.decodedAt < 0 ? key.quote + 1 : m_decoded.constData() + key.decodedAt;
    return {text, static_cast<std::size_t>(key.size)};
}

const char* CJsonScan::SkipSpace(const char* at) const
{
    return std::find_if(at, m_end, [](char c) { return c != ' ' && c != '\t' && c != '\n' && c != '\r'; });
}

bool CJsonScan::Fail(const char* at, const QString& reason)
{
    m_errorOffset = static_cast<int>(at - m_begin);
    m_errorReason = reason;
    return false;
}
