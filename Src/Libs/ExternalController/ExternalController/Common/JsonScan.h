#pragma once

#include <QByteArray>
#include <QString>
#include <QVarLengthArray>

#include <array>
#include <cstdint>
#include <string_view>

/// Checks a JSON text for two things that must not be passed to QJsonDocument::fromJson of Qt 5.15: duplicate keys in
/// an object, because fromJson leaks the array or object of the first one, and deep nesting, because fromJson accepts
/// 1,024 levels and an indented copy of such a text can be thousands of times as long.
///
/// All other errors are left to fromJson; up to the first of them, the scan reads a text exactly as fromJson does. Keys
/// are compared after decoding their escape sequences, as fromJson compares them.
///
/// The scan takes time proportional to the length of the text, plus n log n for an object with n keys, for any keys. It
/// doesn't recurse, and it allocates no memory while the objects that are open have at most kInlineKeys keys together
/// and none of these contains an escape sequence.
class CJsonScan {
public:
    static constexpr int kMaxDepth = 64;

    /// The text must outlive the scan.
    explicit CJsonScan(const QByteArray& text);

    /// Scans the text. Call it once. Returns false if the text is nested too deeply or has a duplicate key.
    bool Run();
    /// The position of the error, in bytes.
    int ErrorOffset() const { return m_errorOffset; }
    const QString& ErrorReason() const { return m_errorReason; }
    /// The number of key comparisons, by hash or by text.
    std::int64_t Comparisons() const { return m_comparisons; }

private:
    static constexpr int kInlineKeys = 48;
    static constexpr std::size_t kMaxTableKeys = 128; // a power of two
    static constexpr int kArray = -1;

    struct SKey {
        const char* quote; ///< the opening quote, in the scanned text
        int size;          ///< in bytes: of the text between the quotes, or of the decoded key
        int decodedAt;     ///< position in m_decoded, or -1 if the key has no escape sequence
        std::uint32_t hash;
    };

    // These return false to end the scan: Fail has set an error, or fromJson will report an error at this position.
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
    bool m_hasEscape = false; ///< the last string that was read has an escape sequence
    int m_depth = 0;
    std::array<int, kMaxDepth> m_firstKeys; ///< index in m_keys of each open object's first key; kArray for an array
    QVarLengthArray<SKey, kInlineKeys> m_keys;
    QByteArray m_decoded;
    std::int64_t m_comparisons = 0;
    int m_errorOffset = 0;
    QString m_errorReason;
};
