#include "ShowRemote/Commands/Login.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/JsonReader.h"
#include "Shared/PasswordInput.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

namespace {

constexpr char kAppId[] = "showremote";
constexpr char kAppVersion[] = "2.0.0";
constexpr int kAppType = 0;
/// The padding of PKCS #1 v1.5 (RFC 8017, 7.2.1) needs at least this many bytes of each block.
constexpr int kPaddingBytes = 11;

struct SOpenSslFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, SOpenSslFree>;
using ContextPtr = std::unique_ptr<EVP_PKEY_CTX, SOpenSslFree>;

/// \param text base64 of the key's SubjectPublicKeyInfo (RFC 5280, 4.1), with or without line ends
KeyPtr ReadKey(const QString& text)
{
    const QByteArray der = QByteArray::fromBase64(text.toLatin1());
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.constData());
    KeyPtr key(d2i_PUBKEY(nullptr, &bytes, der.size()));
    if (!key || EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_RSA)
        throw CFailure("the host's public key is not an RSA key");
    return key;
}

QString Encrypt(const QString& password, const QString& publicKey)
{
    const KeyPtr key = ReadKey(publicKey);
    const QByteArray plain = password.toUtf8();
    const int most = EVP_PKEY_get_size(key.get()) - kPaddingBytes;
    if (most < 0)
        throw CFailure("the host's key is too short to encrypt a password");
    if (plain.size() > most)
        throw CFailure(QStringLiteral("the password is too long for the host's key: %1 bytes at most").arg(most));

    const ContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
    QByteArray cipher(EVP_PKEY_get_size(key.get()), '\0');
    auto length = static_cast<std::size_t>(cipher.size());
    if (EVP_PKEY_encrypt_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0 ||
        EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(cipher.data()), &length,
                         reinterpret_cast<const unsigned char*>(plain.constData()),
                         static_cast<std::size_t>(plain.size())) <= 0)
        throw CFailure("can't encrypt the password with the host's key");
    cipher.truncate(static_cast<int>(length));
    return QString::fromLatin1(cipher.toBase64());
}

QJsonObject AskFor(CEnvelopePeer& peer, Command::Code code, const QByteArray& body, std::chrono::milliseconds timeout)
{
    SRequest request;
    request.code = static_cast<unsigned int>(code);
    request.body = body;
    request.timeout = timeout;
    // Ask returns the last reply, which is the expected one.
    return ReadJson(AppRequests::Ask(peer, request)).object();
}

} // namespace

void AddLoginOptions(CCommandLine& line)
{
    line.AddOption({"user",
                    QStringLiteral("Log in as NAME first, with the password from the environment variable %1 or from "
                                   "a prompt. The request login then needs no JSON.")
                        .arg(kPasswordVariable),
                    "NAME"});
    line.AddOption({"password-fd", "Read the password from file descriptor N.", "N", "0"});
    line.AddOption({"force", "Replace an app that is logged in."});
    line.AddOption({"app-version",
                    QStringLiteral("Report version V of the app at login (default %1).").arg(kAppVersion), "V",
                    kAppVersion});
}

void RefuseLoginOptions(const CCommandLine& line)
{
    line.Refuse({"password-fd", "force", "app-version"}, "can only be used with --user NAME");
}

SCredentials ReadCredentials(const CCommandLine& line)
{
    SCredentials credentials;
    credentials.user = line.Value("user");
    credentials.appVersion = line.Value("app-version");
    credentials.force = line.IsSet("force");
    if (line.IsSet("password-fd"))
        credentials.password = PasswordInput::ReadFrom(line.Number("password-fd", 0));
    else if (qEnvironmentVariableIsSet(kPasswordVariable))
        credentials.password = qEnvironmentVariable(kPasswordVariable);
    else
        credentials.password = PasswordInput::Ask("Password");
    return credentials;
}

void LogIn(CEnvelopePeer& peer, const SCredentials& credentials, std::chrono::milliseconds timeout)
{
    const QString publicKey = AskFor(peer, Command::PublicKey, {}, timeout)["publicKey"].toString();
    const QJsonObject body = {
        {"username", credentials.user},
        {"password", Encrypt(credentials.password, publicKey)},
        {"id", kAppId},
        {"appVersion", credentials.appVersion},
        {"appType", kAppType},
        {"force", credentials.force ? 1 : 0}, // the host reads a number
    };
    AskFor(peer, Command::Login, QJsonDocument(body).toJson(QJsonDocument::Compact), timeout);
    Output::PrintLine(QStringLiteral("logged in as %1").arg(credentials.user));
}
