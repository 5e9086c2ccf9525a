#include "HostModels/PasswordCipher.h"

#include "KeyPair.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <memory>
#include <string>

namespace {

struct SOpenSslFree {
    void operator()(BIO* bio) const { BIO_free_all(bio); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};

std::unique_ptr<EVP_PKEY, SOpenSslFree> ReadPublicKey()
{
    const std::string pem =
        std::string("-----BEGIN PUBLIC KEY-----\n") + KeyPair::kPublicKeyText + "\n-----END PUBLIC KEY-----\n";
    const std::unique_ptr<BIO, SOpenSslFree> bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    return std::unique_ptr<EVP_PKEY, SOpenSslFree>(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
}

} // namespace

std::optional<QString> EncryptPassword(const QString& password)
{
    const QByteArray plain = password.toUtf8();
    const auto key = ReadPublicKey();
    const std::unique_ptr<EVP_PKEY_CTX, SOpenSslFree> context(EVP_PKEY_CTX_new(key.get(), nullptr));
    QByteArray cipher(EVP_PKEY_size(key.get()), '\0');
    auto length = static_cast<std::size_t>(cipher.size());
    const bool encrypted = EVP_PKEY_encrypt_init(context.get()) > 0 &&
                           EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) > 0 &&
                           EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(cipher.data()), &length,
                                            reinterpret_cast<const unsigned char*>(plain.constData()),
                                            static_cast<std::size_t>(plain.size())) > 0;
    if (!encrypted) {
        ERR_clear_error();
        return std::nullopt;
    }
    cipher.truncate(static_cast<int>(length));
    return QString::fromLatin1(cipher.toBase64());
}
