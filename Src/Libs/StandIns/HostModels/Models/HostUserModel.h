#pragma once

#include "HostModels/Show/Snapshot.h"
#include "Interfaces/GlobalModel.h"

#include <vector>

struct SUserState {
    std::vector<SAPPUserNode> users;
    bool loggedIn = false;
    bool connected = false;
    QString currentUser;
    QString appVersion;
    int appType = 0;
};

/// The users of the app and the state of the login, in memory. Any thread.
class CHostUserModel : public CAPPUserModel {
public:
    bool IsExistUser(const QString& name) override;
    SAPPUserNode GetUserNode(const QString& name) override;
    int GetUserAccess(const QString& name) override;
    /// The first user in the order of the settings.
    bool GetFirstUserForFPQRCode(SAPPUserNode& node) override;
    bool GetLoginState() override;
    void SetLoginState(bool loggedIn) override;
    bool GetConnectState() override;
    void SetConnectState(bool connected) override;
    QString GetCurrentLoginUser() override;
    void SetCurrentLoginUser(const QString& name) override;
    QString GetCurLoginAppVersion() override;
    void SetCurLoginAppVersion(const QString& version) override;
    void SetCurLoginAppType(int type) override;

    int GetCurLoginAppType() const { return m_state.Read()->appType; }
    /// Replaces the users and resets the login.
    void Load(std::vector<SAPPUserNode> users);

private:
    CSnapshot<SUserState> m_state;
};
