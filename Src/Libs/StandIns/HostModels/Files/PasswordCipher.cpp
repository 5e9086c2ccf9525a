#include "HostModels/Files/PasswordCipher.h"

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

using KeyPtr = std::unique_ptr<EVP_PKEY, SOpenSslFree>;
using ContextPtr = std::unique_ptr<EVP_PKEY_CTX, SOpenSslFree>;
using BioPtr = std::unique_ptr<BIO, SOpenSslFree>;

KeyPtr ReadPublicKey()
{
    const std::string pem =
        std::string("-----BEGIN PUBLIC KEY-----\n") + KeyPair::kPublicKeyText + "\n-----END PUBLIC KEY-----\n";
    const BioPtr bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    return KeyPtr(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
}

KeyPtr ReadPrivateKey()
{
    const BioPtr bio(BIO_new_mem_buf(KeyPair::kPrivateKeyPem, -1));
    return KeyPtr(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
}

} // namespace

std::optional<QString> EncryptPassword(const QString& password)
{
    const QByteArray plain = password.toUtf8();
    const auto key = ReadPublicKey();
    const ContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
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

bool IsUsablePassword(const QString& encrypted)
{
    const QByteArray cipher = QByteArray::fromBase64(encrypted.toLatin1());
    // The module's base64 decoder is stricter than Qt's. Both are known to agree only on the canonical form.
    if (QString::fromLatin1(cipher.toBase64()) != encrypted)
        return false;
    const KeyPtr key = ReadPrivateKey();
    const ContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
    QByteArray plain(EVP_PKEY_size(key.get()), '\0');
    auto length = static_cast<std::size_t>(plain.size());
    bool decrypted =
        EVP_PKEY_decrypt_init(context.get()) > 0 && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) > 0;
    // Newer versions of OpenSSL return random bytes if the padding is invalid (implicit rejection). This restores the
    // error.
    if (decrypted)
        EVP_PKEY_CTX_ctrl_str(context.get(), "rsa_pkcs1_implicit_rejection", "0");
    decrypted = decrypted && EVP_PKEY_decrypt(context.get(), reinterpret_cast<unsigned char*>(plain.data()), &length,
                                              reinterpret_cast<const unsigned char*>(cipher.constData()),
                                              static_cast<std::size_t>(cipher.size())) > 0;
    ERR_clear_error();
    // The module treats a password as a text that ends at the first zero byte.
    return decrypted && length > 0 && plain[0] != '\0';
}
