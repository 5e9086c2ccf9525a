#pragma once

#if defined(ZENTRAVOX_HAVE_LIBHV)
#include <hv/base64.h>
#else
/// Writes the base64 text (RFC 4648, padded) of the input, not terminated, and returns its length.
extern "C" int hv_base64_encode(const unsigned char* in, unsigned int inlen, char* out);
#endif
