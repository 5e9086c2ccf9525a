#pragma once

#include <QString>

#include <optional>

/// Encrypts a password with RSA (PKCS #1 v1.5 padding, RFC 8017) and the deployment's public key. Returns the
/// ciphertext in base64, the form in which passwords are stored and sent. Returns nothing if the password has more than
/// 117 bytes in UTF-8, the maximum for one RSA block. Any thread.
std::optional<QString> EncryptPassword(const QString& password);
/// Whether the text is the ciphertext of a non-empty password, in the form that EncryptPassword returns. Any thread.
bool IsUsablePassword(const QString& encrypted);
