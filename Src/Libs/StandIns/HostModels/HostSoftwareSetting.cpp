#include "HostModels/HostSoftwareSetting.h"

#include "HostModels/JsonFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QSaveFile>

#include <utility>

Q_LOGGING_CATEGORY(lcHostModels, "zentravox.hostmodels")

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
    m_settings.Change([&](SSettings& settings) { settings.hostName = name; });
    m_changes["hostName"] = name;
    KeepChanges();
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
    if (m_changesFile.isEmpty())
        return true;
    QSaveFile file(m_changesFile);
    const QByteArray text = QJsonDocument(m_changes).toJson();
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return true;
    qCWarning(lcHostModels) << "the changed settings are not kept:" << m_changesFile << file.errorString();
    return false;
}
