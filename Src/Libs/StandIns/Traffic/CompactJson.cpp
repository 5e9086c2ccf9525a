#include "Traffic/CompactJson.h"

#include "ExternalController/Common/JsonScan.h"

#include <QString>

#include <algorithm>

namespace {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Whether a string can contain the character as it is, and it is ASCII.
bool IsPlain(char c)
{
    return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

/// Reads JSON and copies its tokens. Each function reads one element of the grammar of RFC 8259 and returns false if
/// the text has another one.
class CCompactor {
public:
    /// \param out memory for as many characters as the JSON has
    CCompactor(std::string_view json, char* out) : m_at(json.data()), m_end(json.data() + json.size()), m_out(out) {}

    bool CopyText()
    {
        SkipSpace();
        if (!Is('{') && !Is('['))
            return false;
        if (!CopyValue(0))
            return false;
        SkipSpace();
        return m_at == m_end && (m_isAscii || IsUtf8());
    }

    char* Out() const { return m_out; }

private:
    bool Is(char c) const { return m_at != m_end && *m_at == c; }

    void SkipSpace()
    {
        while (Is(' ') || Is('\n') || Is('\r') || Is('\t'))
            ++m_at;
    }

    bool Copy(char c)
    {
        if (!Is(c))
            return false;
        *m_out++ = *m_at++;
        return true;
    }

    bool CopyWord(std::string_view word)
    {
        return std::all_of(word.begin(), word.end(), [this](char c) { return Copy(c); });
    }

    bool CopyDigits()
    {
        const char* const begin = m_at;
        while (m_at != m_end && IsDigit(*m_at))
            *m_out++ = *m_at++;
        return m_at != begin;
    }

    // NOLINTNEXTLINE(misc-no-recursion): the depth is limited
    bool CopyValue(int depth)
    {
        SkipSpace();
        if (m_at == m_end)
            return false;
        switch (*m_at) {
        case '{':
            return CopyList(depth, '}');
        case '[':
            return CopyList(depth, ']');
        case '"':
            return CopyString();
        case 't':
            return CopyWord("true");
        case 'f':
            return CopyWord("false");
        case 'n':
            return CopyWord("null");
        default:
            return CopyNumber();
        }
    }

    // NOLINTNEXTLINE(misc-no-recursion)
    bool CopyList(int depth, char close)
    {
        if (depth + 1 >= CJsonScan::kMaxDepth) // the object around it is one level, too
            return false;
        *m_out++ = *m_at++;
        SkipSpace();
        if (Copy(close))
            return true;
        do {
            SkipSpace();
            if (close == '}' && !CopyKey())
                return false;
            if (!CopyValue(depth + 1))
                return false;
            SkipSpace();
        } while (Copy(','));
        return Copy(close);
    }

    bool CopyKey()
    {
        if (!CopyString())
            return false;
        SkipSpace();
        return Copy(':');
    }

    bool CopyString()
    {
        if (!Copy('"'))
            return false;
        for (;;) {
            while (m_at != m_end && IsPlain(*m_at))
                *m_out++ = *m_at++;
            if (m_at == m_end || static_cast<unsigned char>(*m_at) < 0x20 || (*m_at == '\\' && !IsEscape()))
                return false;
            if (*m_at == '"')
                return Copy('"');
            if (*m_at == '\\')
                *m_out++ = *m_at++;
            else
                m_isAscii = false;
            *m_out++ = *m_at++;
        }
    }

    bool IsEscape() const
    {
        constexpr std::size_t kUnicodeBytes = 6;
        const std::string_view rest(m_at, static_cast<std::size_t>(m_end - m_at));
        if (rest.size() < 2)
            return false;
        if (rest[1] != 'u')
            return std::string_view("\"\\/bfnrt").find(rest[1]) != std::string_view::npos;
        return rest.size() >= kUnicodeBytes && std::all_of(rest.begin() + 2, rest.begin() + kUnicodeBytes, IsHexDigit);
    }

    bool CopyNumber()
    {
        Copy('-');
        if (!Copy('0') && !CopyDigits())
            return false;
        if (Copy('.') && !CopyDigits())
            return false;
        if (!Copy('e') && !Copy('E'))
            return true;
        if (!Copy('+'))
            Copy('-');
        return CopyDigits();
    }

    bool IsUtf8() const
    {
        const QByteArray bytes(m_begin, static_cast<int>(m_end - m_begin));
        return QString::fromUtf8(bytes).toUtf8() == bytes;
    }

    const char* m_at;
    const char* const m_begin = m_at;
    const char* const m_end;
    char* m_out;
    bool m_isAscii = true;
};

} // namespace

bool AppendCompactJson(std::string& text, std::string_view json)
{
    const std::size_t before = text.size();
    text.resize(before + json.size());
    CCompactor compactor(json, text.data() + before);
    const bool isJson = compactor.CopyText();
    text.resize(isJson ? static_cast<std::size_t>(compactor.Out() - text.data()) : before);
    return isJson;
}
