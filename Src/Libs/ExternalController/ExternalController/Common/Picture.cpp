#include "ExternalController/Common/Picture.h"

#include "Interfaces/Hv.h"

#include <algorithm>
#include <cstddef>

std::string Base64Encode(const char* data, unsigned int length)
{
    // One byte more than the text needs: the encoder may append a zero byte.
    std::string text((std::size_t{length} + 2) / 3 * 4 + 1, '\0');
    const int written = hv_base64_encode(reinterpret_cast<const unsigned char*>(data), length, text.data());
    text.resize(static_cast<std::size_t>(std::max(written, 0)));
    return text;
}
