#include "HostModels/Files/Settings.h"

#include "HostModels/Files/PasswordCipher.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace {

/// Sets the value to that of the key, or leaves it unchanged if the key is absent.
template <class Value>
void Read(const CJsonObjectReader& from, const char* key, Value& value)
{
    if constexpr (std::is_same_v<Value, bool>)
        value = from.Flag(key, value);
    else if constexpr (std::is_same_v<Value, int>)
        value = from.Number(key, value);
    else if constexpr (std::is_same_v<Value, QColor>)
        value = from.Color(key, value);
    else
        value = from.Text(key, value);
}

void ReadPath(const CJsonObjectReader& from, const char* key, QString& value)
{
    value = from.Path(key, value);
}

} // namespace

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
    Read(top, "appSupport", settings.appSupport);
    Read(top, "cloudSupport", settings.cloudSupport);
    ReadPath(top, "resourceFolder", settings.resourceFolder);

    const CJsonObjectReader ftp = top.Object("ftp");
    ftp.AllowOnly({"user", "password"});
    Read(ftp, "user", settings.ftpUser);
    Read(ftp, "password", settings.ftpPassword);

    Read(top, "appId", settings.appId);
    Read(top, "stagePreviewMode", settings.stagePreviewMode);
    Read(top, "stageColor", settings.stageColor);
    Read(top, "stageStreamUrl", settings.stageStreamUrl);
    ReadPath(top, "sharedFolder", settings.sharedFolder);
    const CJsonObjectReader fp = top.Object("fp");
    fp.AllowOnly({"address", "port"});
    Read(fp, "address", settings.fpAddress);
    settings.fpPort = fp.Number("port", settings.fpPort, 1, 65535);

    const CJsonObjectReader cloud = top.Object("cloud");
    cloud.AllowOnly({"url", "user", "account", "encryptedPassword", "caFile", "verify"});
    Read(cloud, "url", settings.cloudUrl);
    Read(cloud, "user", settings.cloudUser);
    Read(cloud, "account", settings.cloudAccount);
    Read(cloud, "encryptedPassword", settings.cloudPassword);
    ReadPath(cloud, "caFile", settings.cloudCaFile);
    Read(cloud, "verify", settings.cloudVerifies);

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
