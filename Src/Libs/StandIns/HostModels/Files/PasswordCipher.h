#pragma once

#include <QString>

#include <optional>

/// The base64 text of the password's RSA ciphertext for the deployment's key pair (PKCS #1 v1.5 padding, RFC 8017), the
/// form in which passwords are stored and sent. Nothing when the password is longer than one RSA block takes (117
/// bytes).
std::optional<QString> EncryptPassword(const QString& password);
/// Whether the text is such a ciphertext of a password that isn't empty.
bool IsUsablePassword(const QString& encrypted);
