#include "HostModels/Files/PasswordCipher.h"

#include "ExternalController/Common/OpenSslPointers.h"
#include "ExternalController/Common/RsaEncryption.h"
#include "KeyPair.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace {

EvpKeyPtr ReadPrivateKey()
{
    const BioPtr bio(BIO_new_mem_buf(KeyPair::kPrivateKeyPem, -1));
    return EvpKeyPtr(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
}

} // namespace

std::optional<QString> EncryptPassword(const QString& password)
{
    QString fault;
    return EncryptPassword(password, KeyPair::kPublicKeyText, fault);
}

bool IsUsablePassword(const QString& encrypted)
{
    const QByteArray cipher = QByteArray::fromBase64(encrypted.toLatin1());
    // The module's base64 decoder is stricter than Qt's. Both are known to agree only on the canonical form.
    if (QString::fromLatin1(cipher.toBase64()) != encrypted)
        return false;
    const EvpKeyPtr key = ReadPrivateKey();
    const EvpContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
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
