// The RSA_* functions exist in every supported OpenSSL version, but are deprecated since version 3.
#define OPENSSL_API_COMPAT 10100

#include "ExternalController/Common/RsaCipher.h"

#include "ExternalController/Common/OpenSslPointers.h"
#include "KeyPair.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

constexpr std::size_t kRsaBlockBytes = 128;

using RsaPtr = std::unique_ptr<RSA, SOpenSslDeleter<&RSA_free>>;

RsaPtr ReadPrivateKey()
{
    const BioPtr pem(BIO_new_mem_buf(KeyPair::kPrivateKeyPem, -1));
    return RsaPtr(pem ? PEM_read_bio_RSAPrivateKey(pem.get(), nullptr, nullptr, nullptr) : nullptr);
}

} // namespace

const char* PublicKeyText()
{
    return KeyPair::kPublicKeyText;
}

std::string DecodeBase64(const std::string& text)
{
    const std::size_t length = std::min(text.size(), text.find('\0'));
    std::string decoded(std::max(length + 1, kRsaBlockBytes), '\0');
    const BioPtr source(BIO_new_mem_buf(text.data(), static_cast<int>(length)));
    BioPtr filter(BIO_new(BIO_f_base64()));
    if (!source || !filter)
        return decoded;
    BIO_set_flags(filter.get(), BIO_FLAGS_BASE64_NO_NL);
    BIO_push(filter.get(), source.get());
    BIO_read(filter.get(), decoded.data(), static_cast<int>(length));
    BIO_pop(filter.get());
    return decoded;
}

std::string RsaPrivateDecrypt(const std::string& cipher)
{
    const RsaPtr key = ReadPrivateKey();
    if (!key)
        return {};
    const auto blockBytes = static_cast<std::size_t>(RSA_size(key.get()));
    if (cipher.size() < blockBytes)
        return {};

    std::string plain(blockBytes + 1, '\0');
    const int decrypted =
        RSA_private_decrypt(static_cast<int>(blockBytes), reinterpret_cast<const unsigned char*>(cipher.data()),
                            reinterpret_cast<unsigned char*>(plain.data()), key.get(), RSA_PKCS1_PADDING);
    if (decrypted < 0) {
        // Remove the errors from this thread's queue: otherwise a later call could report them as its own.
        ERR_clear_error();
        return {};
    }
    plain.resize(plain.find('\0'));
    return plain;
}
