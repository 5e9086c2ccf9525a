#include "HostModels/Files/Settings.h"

#include "HostModels/Files/PasswordCipher.h"

#include <algorithm>
#include <utility>

void PutUser(std::vector<SAPPUserNode>& users, SAPPUserNode user)
{
    const auto same = std::find_if(users.begin(), users.end(),
                                   [&](const SAPPUserNode& present) { return present.name == user.name; });
    if (same == users.end())
        users.push_back(std::move(user));
    else
        *same = std::move(user);
}

QString LimitedHostName(const QString& name)
{
    constexpr int kMaxNameBytes = 255;
    const QByteArray bytes = name.toUtf8();
    if (bytes.size() <= kMaxNameBytes)
        return name;
    int end = kMaxNameBytes;
    while ((bytes[end] & 0xc0) == 0x80)
        --end;
    return QString::fromUtf8(bytes.left(end));
}

SSettings ReadSettings(const QString& file, SSettings settings)
{
    return ReadSettings(CJsonObjectReader(file), std::move(settings));
}

SSettings ReadSettings(const CJsonObjectReader& top, SSettings settings)
{
    top.AllowOnly({"hostName", "appSupport", "cloudSupport", "resourceFolder", "ftp", "fp", "cloud", "appId",
                   "stagePreviewMode", "stageColor", "stageStreamUrl", "sharedFolder", "users"});
    settings.hostName = LimitedHostName(top.Text("hostName", settings.hostName));
    settings.appSupport = top.Flag("appSupport", settings.appSupport);
    settings.cloudSupport = top.Flag("cloudSupport", settings.cloudSupport);
    settings.resourceFolder = top.Path("resourceFolder", settings.resourceFolder);

    const CJsonObjectReader ftp = top.Object("ftp");
    ftp.AllowOnly({"user", "password"});
    settings.ftpUser = ftp.Text("user", settings.ftpUser);
    settings.ftpPassword = ftp.Text("password", settings.ftpPassword);

    settings.appId = top.Text("appId", settings.appId);
    settings.stagePreviewMode = top.Number("stagePreviewMode", settings.stagePreviewMode);
    settings.stageColor = top.Color("stageColor", settings.stageColor);
    settings.stageStreamUrl = top.Text("stageStreamUrl", settings.stageStreamUrl);
    settings.sharedFolder = top.Path("sharedFolder", settings.sharedFolder);
    const CJsonObjectReader fp = top.Object("fp");
    fp.AllowOnly({"address", "port"});
    settings.fpAddress = fp.Text("address", settings.fpAddress);
    settings.fpPort = fp.Number("port", settings.fpPort, 1, 65535);

    const CJsonObjectReader cloud = top.Object("cloud");
    cloud.AllowOnly({"url", "user", "account", "encryptedPassword", "caFile", "verify"});
    settings.cloudUrl = cloud.Text("url", settings.cloudUrl);
    settings.cloudUser = cloud.Text("user", settings.cloudUser);
    settings.cloudAccount = cloud.Text("account", settings.cloudAccount);
    settings.cloudPassword = cloud.Text("encryptedPassword", settings.cloudPassword);
    settings.cloudCaFile = cloud.Path("caFile", settings.cloudCaFile);
    settings.cloudVerifies = cloud.Flag("verify", settings.cloudVerifies);

    for (const CJsonObjectReader& user : top.Objects("users")) {
        user.AllowOnly({"name", "encryptedPassword", "access"});
        SAPPUserNode node;
        node.name = user.RequiredText("name");
        node.password = user.RequiredText("encryptedPassword");
        if (!IsUsablePassword(node.password))
            user.Fail("encryptedPassword",
                      "the password of \"" + node.name + "\" can't be decrypted with this build's key pair");
        node.access = user.Number("access", 0);
        PutUser(settings.users, std::move(node));
    }
    return settings;
}
