#include "Interfaces/Hv.h"

#if !defined(ZENTRAVOX_HAVE_LIBHV)

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>

namespace {

// EVP lengths are int, so a long input is encoded in pieces. A multiple of three bytes: only the last piece is padded.
constexpr std::size_t kPieceBytes = std::size_t{3} << 20;

} // namespace

/// Encodes bytes in base64 (RFC 4648). EVP appends a zero byte, so the buffer must have one byte more than the text.
/// For a text of more than INT_MAX characters the returned length is truncated; the text is complete.
extern "C" int hv_base64_encode(const unsigned char* in, unsigned int inlen, char* out)
{
    std::size_t written = 0;
    for (std::size_t done = 0; done < inlen; done += kPieceBytes) {
        const int piece = static_cast<int>(std::min<std::size_t>(kPieceBytes, inlen - done));
        auto* text = reinterpret_cast<unsigned char*>(out + written);
        written += static_cast<std::size_t>(EVP_EncodeBlock(text, in + done, piece));
    }
    return static_cast<int>(written);
}

#endif
