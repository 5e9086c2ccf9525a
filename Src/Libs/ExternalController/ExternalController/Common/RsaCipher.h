#pragma once

#include <string>

/// Returns the public key of the deployment: the base64 text of its SubjectPublicKeyInfo (RFC 5280), without PEM
/// markers.
const char* PublicKeyText();

/// Decodes base64 text without line breaks, up to its first zero byte. The result is padded with zero bytes to the
/// length of the text plus one, and to at least one RSA block (128 bytes), so that it can always be decrypted. Invalid
/// text gives zero bytes.
std::string DecodeBase64(const std::string& text);

/// Decrypts the first RSA block of the cipher text with the deployment's private key (PKCS #1 v1.5 padding, RFC 8017)
/// and returns the plain text up to its first zero byte. Returns an empty text on failure.
std::string RsaPrivateDecrypt(const std::string& cipher);

/// Decrypts a password in the form in which it is stored and sent, the base64 text of its cipher text. Returns an empty
/// text on failure.
inline std::string DecryptPassword(const std::string& text)
{
    return RsaPrivateDecrypt(DecodeBase64(text));
}
