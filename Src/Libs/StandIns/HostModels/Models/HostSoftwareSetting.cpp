#include "HostModels/Models/HostSoftwareSetting.h"

#include "HostModels/Files/JsonFile.h"

#include <QFileInfo>
#include <QJsonArray>

#include <utility>

namespace {

QJsonArray ToJson(const std::vector<SAPPUserNode>& users)
{
    QJsonArray array;
    for (const SAPPUserNode& user : users)
        array.append(QJsonObject{{"name", user.name}, {"encryptedPassword", user.password}, {"access", user.access}});
    return array;
}

} // namespace

bool CHostSoftwareSetting::GetAppSupport()
{
    return m_settings.Read()->appSupport;
}

bool CHostSoftwareSetting::GetCloudSupport()
{
    return m_settings.Read()->cloudSupport;
}

QString CHostSoftwareSetting::LoadHostName()
{
    return m_settings.Read()->hostName;
}

void CHostSoftwareSetting::SaveHostName(const QString& name)
{
    const std::lock_guard changing(m_changesMutex);
    const QString limited = LimitedHostName(name);
    m_settings.Change([&](SSettings& settings) { settings.hostName = limited; });
    m_changes["hostName"] = limited;
    KeepChanges();
}

void CHostSoftwareSetting::GetCloudLoginData(QString& first, QString& second, QString& password)
{
    const auto settings = m_settings.Read();
    first = settings->cloudUser;
    second = settings->cloudAccount;
    password = settings->cloudPassword;
}

void CHostSoftwareSetting::Load(const SSettings& settings, const QString& changesFile)
{
    const std::lock_guard changing(m_changesMutex);
    SSettings loaded = settings;
    m_changes = {};
    if (QFileInfo::exists(changesFile)) {
        loaded = ReadSettings(changesFile, loaded);
        m_changes = ReadJsonObject(changesFile);
    }
    m_changesFile = changesFile;
    m_settings.Change([&](SSettings& current) { current = std::move(loaded); });
}

bool CHostSoftwareSetting::SaveUser(const SAPPUserNode& user)
{
    const std::lock_guard changing(m_changesMutex);
    m_settings.Change([&](SSettings& settings) { PutUser(settings.users, user); });
    m_changes["users"] = ToJson(m_settings.Read()->users);
    return KeepChanges();
}

bool CHostSoftwareSetting::KeepChanges()
{
    return m_changesFile.isEmpty() || KeepJsonObject(m_changesFile, m_changes);
}
