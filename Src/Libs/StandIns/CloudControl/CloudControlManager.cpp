#include "Interfaces/CloudControl.h"

#include <utility>

/// Without a connection yet: it keeps the callback and is never connected.
class CCloudControlManager::Impl {
public:
    MessageCallback callback;
};

CCloudControlManager::CCloudControlManager() : m_impl(std::make_unique<Impl>()) {}

CCloudControlManager::~CCloudControlManager() = default;

void CCloudControlManager::SendData(const std::string&, CloudControl::EROUTE_TYPE) {}

void CCloudControlManager::SetCloudControlMsgCallBack(MessageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CCloudControlManager::InitInstance() {}

void CCloudControlManager::Connect(const CloudControl::SCloudUserInfo&) {}

void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo&) {}

bool CCloudControlManager::IsConnected()
{
    return false;
}

void CCloudControlManager::Close() {}
