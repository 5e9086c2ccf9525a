#pragma once

#include "HostModels/Files/Settings.h"
#include "HostModels/Show/Snapshot.h"
#include "Interfaces/GlobalModel.h"

#include <QJsonObject>

#include <atomic>

/// The settings that the module reads, with the host's functions to load and to change them. Any thread.
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

    /// Replaces the settings.
    /// \param settings    the base settings
    /// \param changesFile overrides the base settings, if the file exists; later changes are written to it; if
    ///                    empty, changes are not stored
    /// \throws CFileError if the file can't be read or is invalid
    void Load(const SSettings& settings, const QString& changesFile);
    /// Adds a user, or replaces the user of that name. Returns false if the changes file can't be written.
    /// \param user with an encrypted password
    bool SaveUser(const SAPPUserNode& user);
    bool IsCloudConnected() const { return m_cloudConnected; }
    std::shared_ptr<const SSettings> Current() const { return m_settings.Read(); }

private:
    bool KeepChanges();

    CSnapshot<SSettings> m_settings;
    std::atomic<bool> m_cloudConnected{false};
    std::mutex m_changesMutex; ///< serializes changes together with writing their file
    QString m_changesFile;
    QJsonObject m_changes;
};
