#pragma once

#include <QString>

#include <memory>

/// A user whom the mobile app can log in as.
struct SAPPUserNode {
    QString name;
    QString password; ///< base64 text of the RSA ciphertext, as it is on the wire
    QString description;
    int access = 0;
    int state = 0;
};

/// The app's users and who of them is logged in. Safe to call from any thread.
class CAPPUserModel {
public:
    virtual ~CAPPUserModel() = default;

    virtual bool IsExistUser(const QString& name) = 0;
    /// A node with an empty name when there is no such user.
    virtual SAPPUserNode GetUserNode(const QString& name) = 0;
    virtual int GetUserAccess(const QString& name) = 0;
    /// Fills the node with the user that an FP controller is paired with; false when there is none.
    virtual bool GetFirstUserForFPQRCode(SAPPUserNode& node) = 0;

    virtual bool GetLoginState() = 0;
    virtual void SetLoginState(bool loggedIn) = 0;
    virtual bool GetConnectState() = 0;
    virtual void SetConnectState(bool connected) = 0;
    /// Empty while nobody is logged in.
    virtual QString GetCurrentLoginUser() = 0;
    virtual void SetCurrentLoginUser(const QString& name) = 0;
    virtual QString GetCurLoginAppVersion() = 0;
    virtual void SetCurLoginAppVersion(const QString& version) = 0;
    virtual void SetCurLoginAppType(int type) = 0;
};

/// The operator's settings of the program, as they stand at the moment of the call. Safe to call from any thread.
class CZXSoftwareSettingData {
public:
    virtual ~CZXSoftwareSettingData() = default;

    virtual bool GetAppSupport() = 0;
    virtual bool GetCloudSupport() = 0;
    /// Empty when the operator gave no name: the machine's own name stands in for it.
    virtual QString LoadHostName() = 0;
    virtual void SaveHostName(const QString& name) = 0;
};

/// Where the host keeps what belongs to no single show. Safe to call from any thread.
class CGlobalModel {
public:
    static CGlobalModel* GetInstance();
    virtual ~CGlobalModel() = default;

    virtual std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() = 0;
    virtual std::shared_ptr<CAPPUserModel> GetAPPUserModel() = 0;
    /// The program's name with its format version, for people to read.
    virtual QString GetAppFormatName() = 0;
};
