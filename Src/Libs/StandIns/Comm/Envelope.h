#pragma once

#include <cstddef>
#include <cstdint>

/// Wire format of the app envelope. Numbers are 32 bits, big-endian.
/// - Code form: mark, command code, body length, body.
/// - Id form, which is the body of a code form: mark, 16 bytes of the id in RFC 4122 order, length, bytes.
namespace Envelope {

constexpr std::size_t kMarkBytes = 4;
constexpr char kCodeMark[kMarkBytes + 1] = "ZXAP";
constexpr char kIdMark[kMarkBytes + 1] = "ZXID";

constexpr std::size_t kCodeHeaderBytes = kMarkBytes + 4 + 4;
constexpr std::size_t kIdHeaderBytes = kMarkBytes + 16 + 4;

/// Most requests have a few hundred bytes; the longest one carries a text resource.
constexpr std::size_t kMaxRequestBodyBytes = std::size_t{4} << 20;
/// Larger than any picture or list that the host sends.
constexpr std::size_t kMaxReplyBodyBytes = std::size_t{64} << 20;

inline std::uint32_t ReadNumber(const char* bytes)
{
    const auto at = [bytes](int i) { return std::uint32_t{static_cast<unsigned char>(bytes[i])}; };
    return at(0) << 24 | at(1) << 16 | at(2) << 8 | at(3);
}

inline void WriteNumber(char* bytes, std::uint32_t number)
{
    bytes[0] = static_cast<char>(number >> 24);
    bytes[1] = static_cast<char>(number >> 16);
    bytes[2] = static_cast<char>(number >> 8);
    bytes[3] = static_cast<char>(number);
}

} // namespace Envelope
