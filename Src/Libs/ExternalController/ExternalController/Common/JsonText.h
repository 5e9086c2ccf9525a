#pragma once

#include <QByteArray>
#include <QString>
#include <QUuid>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// A JSON text in UTF-8 to which values are appended. Byte for byte the values are as QJsonDocument::toJson of Qt 5.15
/// writes them.
class CJsonText {
public:
    CJsonText() = default;
    CJsonText(const CJsonText&) = delete;
    CJsonText& operator=(const CJsonText&) = delete;

    /// Appends bytes without a change.
    void Add(std::string_view bytes)
    {
        m_at = Put(Reserve(bytes.size()), bytes);
    }
    void AddSpaces(std::size_t count)
    {
        std::memset(Reserve(count), ' ', count);
        m_at += count;
    }
    /// Starts a member of an object on its own line, after a comma if it is not the first one.
    ///
    /// \param key ASCII characters that JSON doesn't escape
    void StartMember(bool isFirst, std::size_t indent, std::string_view key)
    {
        constexpr std::size_t kPunctuationBytes = 6;
        char* at = Reserve(indent + key.size() + kPunctuationBytes);
        if (!isFirst)
            at = Put(at, ",\n");
        std::memset(at, ' ', indent);
        at = Put(at + indent, "\"");
        at = Put(at, key);
        m_at = Put(at, "\": ");
    }
    void AddBool(bool value) { Add(value ? "true" : "false"); }
    void AddInteger(std::int64_t value);
    /// Appends `null` for NaN and infinity, which JSON doesn't have.
    void AddDouble(double value);
    /// Appends a string with its quotes and escape sequences.
    void AddString(const QString& text);
    /// Appends a string of ASCII characters that JSON doesn't escape, with its quotes.
    void AddPlainString(std::string_view text);
    /// Appends an id without braces as a string, such as "1b4e28ba-2fa1-11d2-883f-0016d3cca427".
    void AddUuid(const QUuid& id);
    /// Appends an id with braces as a string.
    void AddBracedUuid(const QUuid& id);

    /// Returns the text without a copy. Nothing can be appended afterwards.
    QByteArray Take();

private:
    static char* Put(char* at, std::string_view bytes)
    {
        std::memcpy(at, bytes.data(), bytes.size());
        return at + bytes.size();
    }
    /// Returns the end of the text, after which there is memory for more than this number of bytes.
    char* Reserve(std::size_t bytes)
    {
        if (static_cast<std::size_t>(m_end - m_at) <= bytes)
            Grow(bytes + 1);
        return m_at;
    }
    void Grow(std::size_t bytes);
    std::size_t Size() const { return m_at ? static_cast<std::size_t>(m_at - m_bytes.constData()) : 0; }

    QByteArray m_bytes;
    char* m_at = nullptr;  ///< the end of the text in m_bytes
    char* m_end = nullptr; ///< the end of m_bytes
};
