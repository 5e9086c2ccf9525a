#include "Interfaces/CentralControl.h"

#include <utility>

/// Without a socket yet: it keeps the callback and has nobody to send to.
class CCentralControllerManager::Impl {
public:
    MessageCallback callback;
};

CCentralControllerManager::CCentralControllerManager() : m_impl(std::make_unique<Impl>()) {}

CCentralControllerManager::~CCentralControllerManager() = default;

void CCentralControllerManager::SetCallBackFunc(MessageCallback callback)
{
    m_impl->callback = std::move(callback);
}

void CCentralControllerManager::InitServer() {}

void CCentralControllerManager::SendData(const std::string&, const std::string&, unsigned short) {}
