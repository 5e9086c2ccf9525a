#include "Interfaces/FPClient.h"

#include <utility>

/// Without a connection yet: it keeps the callback and has no controller to send to.
class CFPClientManager::Impl {
public:
    PackageCallback callback;
};

CFPClientManager::CFPClientManager() : m_impl(std::make_unique<Impl>()) {}

CFPClientManager::~CFPClientManager() = default;

void CFPClientManager::SendPackage(std::shared_ptr<Comm::RequestPackage>) {}

void CFPClientManager::SetCallBackFunc(PackageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CFPClientManager::InitServer() {}
