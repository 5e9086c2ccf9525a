#pragma once

#include <string>

/// The public half of the deployment's key pair: base64 text of the SubjectPublicKeyInfo (RFC 5280), without PEM
/// markers.
const char* PublicKeyText();

/// Decodes base64 text of one line, up to its first zero byte. The result is padded with zeros to one byte more than
/// the text, and to one RSA block at least, so that a decryption always finds a whole block. Undecodable text gives
/// zeros.
std::string DecodeBase64(const std::string& text);

/// Decrypts the first RSA block of the cipher text with the deployment's private key (PKCS #1 v1.5 padding, RFC 8017)
/// and returns the plain text up to its first zero byte; empty when that fails.
std::string RsaPrivateDecrypt(const std::string& cipher);

/// The plain text of a password as it is stored and sent: the base64 text of its cipher. Empty when it can't be read.
inline std::string DecryptPassword(const std::string& text)
{
    return RsaPrivateDecrypt(DecodeBase64(text));
}
