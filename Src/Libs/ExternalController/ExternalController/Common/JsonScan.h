#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

#include <array>
#include <cstdint>
#include <string_view>

/// Looks through a JSON text for what QJsonDocument::fromJson of Qt 5.15 must not be given: it leaks the array or
/// object of a key that comes again in the same object, and nests 1,024 levels deep, where an indented copy of a text
/// is thousands of times as long.
///
/// Other errors are left to fromJson, which reads a text as the scan does up to its first error. Keys are compared as
/// fromJson compares them: decoded, whatever their spelling.
///
/// Takes time proportional to the length of the text and n log n for an object with n keys, whatever the keys are. Does
/// not recurse, and allocates no memory while at most kInlineKeys keys of open objects are pending, none of them with
/// an escape sequence.
class CJsonScan {
public:
    static constexpr int kMaxDepth = 64;

    /// The text must outlive the scan.
    explicit CJsonScan(const QByteArray& text);

    /// Once. False if the text is nested too deep or has a key twice in an object.
    bool Run();
    /// In bytes.
    int ErrorOffset() const { return m_errorOffset; }
    const QString& ErrorReason() const { return m_errorReason; }
    /// How often two keys were compared, by hash or by text.
    std::int64_t Comparisons() const { return m_comparisons; }

private:
    static constexpr int kInlineKeys = 48;
    static constexpr int kArray = -1;

    struct SKey {
        const char* quote; ///< in the text
        int size;          ///< of the text between the quotes, or of the decoded one
        int decodedAt;     ///< in m_decoded; -1 if the key has no escape sequence
        std::uint32_t hash;
    };

    // False ends the scan: what is behind m_at can't matter any more, or the text was found malformed.
    bool Step();
    bool SkipString();
    bool Enter(int firstKey);
    bool Leave();
    bool ReadKey();
    bool DecodeKey(SKey& key);
    bool Fail(const char* at, const QString& reason);

    bool IsInObject() const { return m_depth > 0 && m_firstKeys[static_cast<std::size_t>(m_depth - 1)] != kArray; }
    bool IsInArray() const { return m_depth > 0 && !IsInObject(); }
    const char* SkipSpace(const char* at) const;
    bool AreHashesDifferent(const SKey* first, const SKey* last);
    const SKey* FindRepeated(SKey* first, SKey* last);
    std::string_view TextOf(const SKey& key) const;

    const char* m_at;
    const char* const m_begin;
    const char* const m_end;
    const bool m_hasNul;
    bool m_hasEscape = false; ///< the last string
    int m_depth = 0;
    std::array<int, kMaxDepth> m_firstKeys; ///< of each open object, in m_keys; kArray for an array
    QVarLengthArray<SKey, kInlineKeys> m_keys;
    QByteArray m_decoded;
    std::int64_t m_comparisons = 0;
    int m_errorOffset = 0;
    QString m_errorReason;
};
