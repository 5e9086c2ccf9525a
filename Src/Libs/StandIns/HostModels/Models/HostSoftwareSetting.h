#pragma once

#include "HostModels/Files/Settings.h"
#include "HostModels/Show/Snapshot.h"
#include "Interfaces/GlobalModel.h"

#include <QJsonObject>

#include <atomic>

/// The settings that the module reads, with what only the host does: loading them and keeping what is changed.
class CHostSoftwareSetting : public CZXSoftwareSettingData {
public:
    bool GetAppSupport() override;
    bool GetCloudSupport() override;
    QString LoadHostName() override;
    void SaveHostName(const QString& name) override;
    QString GetCurLoginAPPId() override { return m_settings.Read()->appId; }
    int LoadStagePreviewMode() override { return m_settings.Read()->stagePreviewMode; }
    QColor LoadStageColor() override { return m_settings.Read()->stageColor; }
    QString GetStageStreamUrl() override { return m_settings.Read()->stageStreamUrl; }
    void GetCloudLoginData(QString& first, QString& second, QString& password) override;
    void SetCloudConnected(bool connected) override { m_cloudConnected = connected; }
    QString GetAppSharedPath() override { return m_settings.Read()->sharedFolder; }

    /// Replaces the settings, by what the changes file says over the given ones. Later changes are kept in that file;
    /// nowhere when its name is empty. Throws CFileError.
    void Load(const SSettings& settings, const QString& changesFile);
    /// Adds a user whose password is encrypted, or replaces the one of that name. False when that can't be kept.
    bool SaveUser(const SAPPUserNode& user);
    bool IsCloudConnected() const { return m_cloudConnected; }
    std::shared_ptr<const SSettings> Current() const { return m_settings.Read(); }

private:
    bool KeepChanges();

    CSnapshot<SSettings> m_settings;
    std::atomic<bool> m_cloudConnected{false};
    std::mutex m_changesMutex; ///< one change at a time, with its file
    QString m_changesFile;
    QJsonObject m_changes;
};
