#pragma once

#include "ExternalController/Common/OpenSslPointers.h"

#include <QByteArray>
#include <QString>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <algorithm>
#include <optional>

/// Encrypts a password with RSA (PKCS #1 v1.5 padding, RFC 8017), so that DecryptPassword of the key's owner returns
/// it. The module itself only decrypts: this function is inline for hosts and remotes, which don't link its sources.
///
/// \param publicKey the base64 text that PublicKeyText returns, with or without line breaks
/// \param fault     set to the reason on failure
/// \return the base64 text of the cipher text; no value if the key is not an RSA key or the password is too long for it
inline std::optional<QString> EncryptPassword(const QString& password, const QString& publicKey, QString& fault)
{
    constexpr int kMinPaddingBytes = 11; // RFC 8017, 7.2.1
    const QByteArray der = QByteArray::fromBase64(publicKey.toLatin1());
    const auto* derBytes = reinterpret_cast<const unsigned char*>(der.constData());
    const EvpKeyPtr key(d2i_PUBKEY(nullptr, &derBytes, der.size()));
    if (!key || EVP_PKEY_base_id(key.get()) != EVP_PKEY_RSA) {
        ERR_clear_error();
        fault = QStringLiteral("the public key is not an RSA key");
        return std::nullopt;
    }
    const QByteArray plain = password.toUtf8();
    const int maxBytes = EVP_PKEY_size(key.get()) - kMinPaddingBytes;
    if (plain.size() > maxBytes) {
        fault = QStringLiteral("the password is too long for the key: %1 bytes at most").arg(std::max(maxBytes, 0));
        return std::nullopt;
    }

    const EvpContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
    QByteArray cipher(EVP_PKEY_size(key.get()), '\0');
    auto length = static_cast<std::size_t>(cipher.size());
    if (EVP_PKEY_encrypt_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0 ||
        EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(cipher.data()), &length,
                         reinterpret_cast<const unsigned char*>(plain.constData()),
                         static_cast<std::size_t>(plain.size())) <= 0) {
        ERR_clear_error();
        fault = QStringLiteral("the public key can't encrypt");
        return std::nullopt;
    }
    cipher.truncate(static_cast<int>(length));
    return QString::fromLatin1(cipher.toBase64());
}
