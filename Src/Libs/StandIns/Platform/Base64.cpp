#include "Interfaces/Hv.h"

#if !defined(ZENTRAVOX_HAVE_LIBHV)

#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>

namespace {

// EVP counts in int, so a long input goes in pieces. Whole groups of three bytes: only the last piece may be padded.
constexpr std::size_t kPieceBytes = std::size_t{3} << 20;

} // namespace

/// EVP ends every piece with a zero: the caller's buffer needs one byte more than the text.
/// The length of a text beyond INT_MAX characters comes back wrapped; the text itself is whole.
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
