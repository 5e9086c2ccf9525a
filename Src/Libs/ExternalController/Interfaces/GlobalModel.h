#pragma once

#include <QColor>
#include <QString>
#include <QUuid>

#include <memory>
#include <utility>
#include <vector>

class CLogModel;
class CPerformanceModel;
class CProgramScheduleModel;

/// A user account of the mobile app.
struct SAPPUserNode {
    QString name;
    QString password; ///< base64 text of the RSA ciphertext, as it is on the wire
    QString description;
    int access = 0; ///< the access level that the host assigned
    int state = 0;
};

/// The app's user accounts, and the one that is logged in. Safe to call from any thread.
class CAPPUserModel {
public:
    virtual ~CAPPUserModel() = default;

    virtual bool IsExistUser(const QString& name) = 0;
    /// A node with an empty name if the user doesn't exist.
    virtual SAPPUserNode GetUserNode(const QString& name) = 0;
    virtual int GetUserAccess(const QString& name) = 0;
    /// Sets the node to the user that an FP controller is paired with; false if no user is.
    virtual bool GetFirstUserForFPQRCode(SAPPUserNode& node) = 0;

    virtual bool GetLoginState() = 0;
    virtual void SetLoginState(bool loggedIn) = 0;
    virtual bool GetConnectState() = 0;
    virtual void SetConnectState(bool connected) = 0;
    /// Empty while no user is logged in.
    virtual QString GetCurrentLoginUser() = 0;
    virtual void SetCurrentLoginUser(const QString& name) = 0;
    virtual QString GetCurLoginAppVersion() = 0;
    virtual void SetCurLoginAppVersion(const QString& version) = 0;
    virtual void SetCurLoginAppType(int type) = 0;
};

/// The program's settings, as they are at the moment of the call. Safe to call from any thread.
class CZXSoftwareSettingData {
public:
    virtual ~CZXSoftwareSettingData() = default;

    virtual bool GetAppSupport() = 0;
    virtual bool GetCloudSupport() = 0;
    /// Empty if the operator set no name; the machine's name is used then.
    virtual QString LoadHostName() = 0;
    virtual void SaveHostName(const QString& name) = 0;
    /// The id of the app that the operator admitted.
    virtual QString GetCurLoginAPPId() = 0;
    virtual int LoadStagePreviewMode() = 0; ///< the host's number
    virtual QColor LoadStageColor() = 0;
    /// The address that the host streams its view of the stage to.
    virtual QString GetStageStreamUrl() = 0;
    /// Two login texts, passed on unchanged, and the password as base64 text of its RSA ciphertext.
    virtual void GetCloudLoginData(QString& first, QString& second, QString& password) = 0;
    /// Stores whether the module has asked for the connection to the cloud.
    virtual void SetCloudConnected(bool connected) = 0;
    /// The folder whose files the app may list, or empty.
    virtual QString GetAppSharedPath() = 0;
};

/// The open project's own settings. Safe to call from any thread.
class CZXProjectSettingData {
public:
    virtual ~CZXProjectSettingData() = default;

    /// Whether HDR is on, and its kind: 1 is software.
    virtual std::pair<bool, int> LoadHDRSetting() = 0;
    /// A percentage as display text.
    virtual QString LoadStageZoomRatio() = 0;
};

/// One of the projects that the host knows.
struct SProjectMgrNode {
    QString path;
    QString name;
    QUuid id;
};

/// The open project. Safe to call from any thread.
class CZXProject {
public:
    virtual ~CZXProject() = default;

    virtual QUuid GetId() = 0;
    virtual QString GetProjectName() = 0;
    virtual QString GetProjectPath() = 0;
    virtual int GetAppCtrlMode() = 0; ///< the host's number
    /// All projects, the open one among them.
    virtual std::vector<SProjectMgrNode> GetProjectMgrList() = 0;
};

/// The models that don't belong to a single show. Safe to call from any thread.
class CGlobalModel {
public:
    static CGlobalModel* GetInstance();
    virtual ~CGlobalModel() = default;

    virtual std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() = 0;
    virtual std::shared_ptr<CAPPUserModel> GetAPPUserModel() = 0;
    virtual std::shared_ptr<CZXProjectSettingData> GetProjectSetting() = 0;
    virtual std::shared_ptr<CZXProject> GetZXProject() = 0;
    virtual std::shared_ptr<CPerformanceModel> GetPerformanceModel() = 0;
    virtual std::shared_ptr<CLogModel> GetLogModel() = 0;
    virtual std::shared_ptr<CProgramScheduleModel> GetNorProgramScheduleModel() = 0;
    virtual std::shared_ptr<CProgramScheduleModel> GetInsProgramScheduleModel() = 0;
    /// The program's name with its format version, as display text.
    virtual QString GetAppFormatName() = 0;
    virtual QString GetAppVersion() = 0;
};
