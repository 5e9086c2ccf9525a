#include "HostModels/Models/HostUserModel.h"

#include <algorithm>
#include <utility>

bool CHostUserModel::IsExistUser(const QString& name)
{
    return !GetUserNode(name).name.isEmpty();
}

SAPPUserNode CHostUserModel::GetUserNode(const QString& name)
{
    const auto state = m_state.Read();
    const auto found = std::find_if(state->users.begin(), state->users.end(),
                                    [&](const SAPPUserNode& user) { return user.name == name; });
    return found == state->users.end() ? SAPPUserNode{} : *found;
}

int CHostUserModel::GetUserAccess(const QString& name)
{
    return GetUserNode(name).access;
}

bool CHostUserModel::GetFirstUserForFPQRCode(SAPPUserNode& node)
{
    const auto state = m_state.Read();
    if (state->users.empty())
        return false;
    node = state->users.front();
    return true;
}

bool CHostUserModel::GetLoginState()
{
    return m_state.Read()->loggedIn;
}

void CHostUserModel::SetLoginState(bool loggedIn)
{
    m_state.Change([&](SUserState& state) { state.loggedIn = loggedIn; });
}

bool CHostUserModel::GetConnectState()
{
    return m_state.Read()->connected;
}

void CHostUserModel::SetConnectState(bool connected)
{
    m_state.Change([&](SUserState& state) { state.connected = connected; });
}

QString CHostUserModel::GetCurrentLoginUser()
{
    return m_state.Read()->currentUser;
}

void CHostUserModel::SetCurrentLoginUser(const QString& name)
{
    m_state.Change([&](SUserState& state) { state.currentUser = name; });
}

QString CHostUserModel::GetCurLoginAppVersion()
{
    return m_state.Read()->appVersion;
}

void CHostUserModel::SetCurLoginAppVersion(const QString& version)
{
    m_state.Change([&](SUserState& state) { state.appVersion = version; });
}

void CHostUserModel::SetCurLoginAppType(int type)
{
    m_state.Change([&](SUserState& state) { state.appType = type; });
}

void CHostUserModel::Load(std::vector<SAPPUserNode> users)
{
    m_state.Change([&](SUserState& state) {
        state = {};
        state.users = std::move(users);
    });
}
