#include "ExternalController/Common/JsonText.h"

#include <QChar>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

/// Enough for most replies, together with the header of an envelope.
constexpr std::size_t kFirstBytes = 480;
/// QByteArray can't be longer.
constexpr std::size_t kMaxBytes = std::numeric_limits<int>::max() - 64;

constexpr std::size_t kMaxNumberBytes = 32;
/// Of one UTF-16 code unit: an escape sequence such as \u001f.
constexpr std::size_t kMaxUnitBytes = 6;

/// Of an id without braces and quotes.
constexpr std::size_t kUuidBytes = 36;

constexpr char kHexDigits[] = "0123456789abcdef";

/// Integers up to this one are exact as a double. Qt writes larger ones as the nearest double.
constexpr std::int64_t kMaxExact = std::int64_t{1} << 53;

/// The shortest decimal digits that give the same double when they are read.
struct SDigits {
    std::array<char, 20> digits;
    int count = 0;
    int exponent = 0; ///< of the first digit
};

SDigits DigitsOf(double value)
{
    std::array<char, kMaxNumberBytes> text;
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific).ptr;
    // The text is d.ddde+xx or de+xx.
    SDigits result;
    const char* at = text.data();
    for (; *at != 'e'; ++at) {
        if (*at != '.')
            result.digits[static_cast<std::size_t>(result.count++)] = *at;
    }
    const bool isNegative = at[1] == '-';
    std::from_chars(at + 2, end, result.exponent);
    if (isNegative)
        result.exponent = -result.exponent;
    return result;
}

char* Append(char* to, const char* from, int count)
{
    return std::copy_n(from, count, to);
}

char* WriteScientific(char* at, const SDigits& number)
{
    *at++ = number.digits[0];
    if (number.count > 1) {
        *at++ = '.';
        at = Append(at, number.digits.data() + 1, number.count - 1);
    }
    *at++ = 'e';
    *at++ = number.exponent < 0 ? '-' : '+';
    const int exponent = std::abs(number.exponent);
    if (exponent < 10)
        *at++ = '0';
    return std::to_chars(at, at + 3, exponent).ptr;
}

char* WriteDecimal(char* at, const SDigits& number)
{
    const char* const digits = number.digits.data();
    const int integerDigits = number.exponent + 1;
    if (integerDigits <= 0) {
        at = Append(at, "0.", 2);
        at = std::fill_n(at, -integerDigits, '0');
        return Append(at, digits, number.count);
    }
    if (integerDigits >= number.count) {
        at = Append(at, digits, number.count);
        return std::fill_n(at, integerDigits - number.count, '0');
    }
    at = Append(at, digits, integerDigits);
    *at++ = '.';
    return Append(at, digits + integerDigits, number.count - integerDigits);
}

/// Whether Qt writes the digits with an exponent. It does if this is shorter, except for integers below 2^64.
bool IsScientific(double value, const SDigits& number)
{
    constexpr double kIntegerEnd = 18446744073709551616.0; // 2^64
    const int integerDigits = number.exponent + 1;
    if (integerDigits >= number.count && value < kIntegerEnd)
        return false;
    int maxIntegerDigits = 6;
    if (integerDigits > 0) {
        // The length with an exponent: digits, 'e', sign, exponent of two or three digits, and the point.
        maxIntegerDigits = number.count + 4;
        if (integerDigits > 10)
            maxIntegerDigits += integerDigits > 100 ? 2 : 1;
        if (number.count > integerDigits)
            ++maxIntegerDigits;
    }
    return integerDigits <= -4 || integerDigits > maxIntegerDigits;
}

char* WriteDouble(char* at, double value)
{
    if (std::signbit(value))
        *at++ = '-';
    const double size = std::fabs(value);
    const SDigits number = DigitsOf(size);
    return IsScientific(size, number) ? WriteScientific(at, number) : WriteDecimal(at, number);
}

bool IsPlain(unsigned int unit)
{
    return unit >= 0x20 && unit < 0x80 && unit != '"' && unit != '\\';
}

char* WriteEscape(char* at, unsigned int unit)
{
    *at++ = '\\';
    switch (unit) {
    case '"':
    case '\\':
        *at++ = static_cast<char>(unit);
        return at;
    case '\b':
        *at++ = 'b';
        return at;
    case '\f':
        *at++ = 'f';
        return at;
    case '\n':
        *at++ = 'n';
        return at;
    case '\r':
        *at++ = 'r';
        return at;
    case '\t':
        *at++ = 't';
        return at;
    default:
        *at++ = 'u';
        for (int shift = 12; shift >= 0; shift -= 4)
            *at++ = kHexDigits[unit >> shift & 0xf];
        return at;
    }
}

/// Writes the last bits of a code point as the continuation bytes of UTF-8.
char* WriteContinuation(char* at, unsigned int point, int bytes)
{
    for (int shift = (bytes - 1) * 6; shift >= 0; shift -= 6)
        *at++ = static_cast<char>(0x80 | (point >> shift & 0x3f));
    return at;
}

/// Writes one code point that is not plain. Returns the end of the bytes; from is set to the end of its code units.
char* WriteOther(char* at, const ushort*& from, const ushort* end)
{
    const unsigned int unit = *from++;
    if (unit < 0x80)
        return WriteEscape(at, unit);
    if (unit < 0x800) {
        *at++ = static_cast<char>(0xc0 | unit >> 6);
        return WriteContinuation(at, unit, 1);
    }
    if (!QChar::isSurrogate(unit)) {
        *at++ = static_cast<char>(0xe0 | unit >> 12);
        return WriteContinuation(at, unit, 2);
    }
    if (!QChar::isHighSurrogate(unit) || from == end || !QChar::isLowSurrogate(*from))
        return WriteEscape(at, unit);
    const unsigned int point = QChar::surrogateToUcs4(static_cast<ushort>(unit), *from++);
    *at++ = static_cast<char>(0xf0 | point >> 18);
    return WriteContinuation(at, point, 3);
}

char* WriteHex(char* at, unsigned int value, int digits)
{
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
        *at++ = kHexDigits[value >> shift & 0xf];
    return at;
}

char* WriteUuid(char* at, const QUuid& id)
{
    at = WriteHex(at, id.data1, 8);
    *at++ = '-';
    at = WriteHex(at, id.data2, 4);
    *at++ = '-';
    at = WriteHex(at, id.data3, 4);
    for (std::size_t i = 0; i < std::size(id.data4); ++i) {
        if (i == 0 || i == 2)
            *at++ = '-';
        at = WriteHex(at, id.data4[i], 2);
    }
    return at;
}

} // namespace

void CJsonText::Grow(std::size_t bytes)
{
    const std::size_t size = Size();
    if (bytes > kMaxBytes - size)
        throw std::bad_alloc();
    if (size == 0)
        m_bytes.reserve(static_cast<int>(kFirstBytes)); // otherwise Take would move a short text into smaller memory
    m_bytes.resize(static_cast<int>(std::min(std::max({kFirstBytes, 2 * size, size + bytes}), kMaxBytes)));
    m_at = m_bytes.data() + size;
    m_end = m_bytes.data() + m_bytes.size();
}

void CJsonText::AddInteger(std::int64_t value)
{
    if (value < -kMaxExact || value > kMaxExact) {
        AddDouble(static_cast<double>(value));
        return;
    }
    char* const at = Reserve(kMaxNumberBytes);
    m_at = std::to_chars(at, at + kMaxNumberBytes, value).ptr;
}

void CJsonText::AddDouble(double value)
{
    if (!std::isfinite(value)) {
        Add("null");
        return;
    }
    if (std::fabs(value) < kMaxExact && value == static_cast<double>(static_cast<std::int64_t>(value))) {
        AddInteger(static_cast<std::int64_t>(value));
        return;
    }
    m_at = WriteDouble(Reserve(kMaxNumberBytes), value);
}

void CJsonText::AddString(const QString& text)
{
    const auto* from = reinterpret_cast<const ushort*>(text.constData());
    const ushort* const end = from + text.size();
    char* at = Reserve(static_cast<std::size_t>(text.size()) * kMaxUnitBytes + 2);
    *at++ = '"';
    while (from != end) {
        if (IsPlain(*from))
            *at++ = static_cast<char>(*from++);
        else
            at = WriteOther(at, from, end);
    }
    *at++ = '"';
    m_at = at;
}

void CJsonText::AddPlainString(std::string_view text)
{
    Reserve(text.size() + 2);
    Add("\"");
    Add(text);
    Add("\"");
}

void CJsonText::AddUuid(const QUuid& id)
{
    char* at = Reserve(kUuidBytes + 2);
    *at++ = '"';
    at = WriteUuid(at, id);
    *at++ = '"';
    m_at = at;
}

void CJsonText::AddBracedUuid(const QUuid& id)
{
    char* at = Reserve(kUuidBytes + 4);
    *at++ = '"';
    *at++ = '{';
    at = WriteUuid(at, id);
    *at++ = '}';
    *at++ = '"';
    m_at = at;
}

QByteArray CJsonText::Take()
{
    m_bytes.resize(static_cast<int>(Size()));
    m_at = m_end = nullptr;
    return std::move(m_bytes);
}
