#include "ShowHost/CloudSettings.h"

#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/Files/JsonFile.h"
#include "HostModels/Files/PasswordCipher.h"

#include <QSslCertificate>
#include <QUrl>

namespace {

/// User, account and password of the demo login.
const QString kDemo = QStringLiteral("demo");

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
