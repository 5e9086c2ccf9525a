#include "FuzzHost.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Picture.h"
#include "ExternalController/Common/RsaCipher.h"
#include "HostModels/HostModels.h"

#include <QJsonDocument>

// The password of a login: base64 text of an RSA block.
void FuzzInput(std::string_view input)
{
    constexpr std::size_t kRsaBlockBytes = 128;
    const std::string text(input);
    FuzzHost::Require(DecodeBase64(text).size() >= kRsaBlockBytes, "there is a whole block to decrypt");
    RsaPrivateDecrypt(text + std::string(kRsaBlockBytes, '\0'));

    const std::string again = DecodeBase64(Base64Encode(text.data(), static_cast<unsigned>(text.size())));
    FuzzHost::Require(again.compare(0, text.size(), text) == 0, "base64 decodes to what was encoded");

    const QString password = QString::fromStdString(text);
    const QJsonObject body = {{"username", "demo"}, {"password", password}, {"force", 1}};
    FuzzHost::SendEnvelope(FuzzHost::EChannel::AppControl, Command::Login, QJsonDocument(body).toJson().toStdString());
    FuzzHost::Require(HostModels::UserModel().GetLoginState() == (DecryptPassword(password.toStdString()) == "demo"),
                      "only the user's password logs in");
}
