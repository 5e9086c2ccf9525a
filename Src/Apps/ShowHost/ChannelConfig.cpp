#include "ShowHost/ChannelConfig.h"

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/Files/PasswordCipher.h"

#include <QSslCertificate>
#include <QUrl>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

namespace {

/// User, account and password of the demo login.
const QString kDemo = QStringLiteral("demo");

/// Returns the host without brackets and the port.
std::pair<std::string, std::uint16_t> ReadHostAndPort(const QString& text)
{
    const int colon = text.lastIndexOf(':');
    const std::uint16_t port = text.mid(colon + 1).toUShort();
    QString host = text.left(colon);
    if (host.startsWith('[') && host.endsWith(']'))
        host = host.mid(1, host.size() - 2);
    else if (host.contains(':'))
        host.clear();
    if (colon < 0 || port == 0 || host.isEmpty())
        throw CFileError("--fp: expected HOST:PORT, got \"" + text.toStdString() + '"');
    return {host.toStdString(), port};
}

} // namespace

void SwitchCloudOn(SSettings& settings, const QString& url)
{
    settings.cloudSupport = true;
    settings.cloudUrl = url;
    if (!settings.cloudUser.isEmpty() || !settings.cloudAccount.isEmpty() || !settings.cloudPassword.isEmpty())
        return;
    settings.cloudUser = kDemo;
    settings.cloudAccount = kDemo;
    settings.cloudPassword = EncryptPassword(kDemo).value_or(QString());
}

SCloudControlConfig CloudConfigOf(const SSettings& settings)
{
    SCloudControlConfig config;
    if (!settings.cloudUrl.isEmpty())
        config.url = settings.cloudUrl.toStdString();
    const QUrl url(QString::fromStdString(config.url), QUrl::StrictMode);
    if ((url.scheme() != QLatin1String("ws") && url.scheme() != kCloudScheme) || url.host().isEmpty())
        throw CFileError("cloud URL: expected wss://HOST:PORT or ws://HOST:PORT, got \"" + config.url + '"');
    if (!settings.cloudCaFile.isEmpty() && QSslCertificate::fromPath(settings.cloudCaFile).isEmpty())
        throw CFileError(settings.cloudCaFile.toStdString() + ": contains no PEM certificate");
    config.caFile = settings.cloudCaFile.toStdString();
    config.verifiesPeer = settings.cloudVerifies;
    return config;
}

SFPClientConfig FPClientConfigOf(const SSettings& settings, const QString& address)
{
    SFPClientConfig config;
    if (!settings.fpAddress.isEmpty())
        config.host = settings.fpAddress.toStdString();
    if (settings.fpPort != 0)
        config.port = static_cast<std::uint16_t>(settings.fpPort);
    if (!address.isEmpty())
        std::tie(config.host, config.port) = ReadHostAndPort(address);
    return config;
}
