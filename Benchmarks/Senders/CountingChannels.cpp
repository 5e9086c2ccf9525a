#include "Senders/CountingChannels.h"

#include "Comm/Envelope.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/CentralControl.h"
#include "Interfaces/CloudControl.h"
#include "Interfaces/Common.h"
#include "Interfaces/FPClient.h"

#include <cstddef>
#include <string>
#include <utility>

namespace {

int s_sent = 0;
bool s_isKept = false;
std::vector<QByteArray> s_bodies;

void Count(const std::string& text, std::size_t headerBytes)
{
    ++s_sent;
    if (s_isKept)
        s_bodies.push_back(QByteArray::fromStdString(text.substr(headerBytes)));
}

} // namespace

int CountingChannels::Sent()
{
    return s_sent;
}

std::vector<QByteArray> CountingChannels::BodiesSentBy(const std::function<void()>& send)
{
    s_isKept = true;
    send();
    s_isKept = false;
    return std::exchange(s_bodies, {});
}

// The app server.

class CAPPServerManager::Impl {};

CAPPServerManager::CAPPServerManager() = default;
CAPPServerManager::~CAPPServerManager() = default;

void CAPPServerManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package, int, const std::string&,
                                    unsigned short)
{
    Count(package->data, Envelope::kCodeHeaderBytes);
}

void CAPPServerManager::SendUdpData(const std::string&, const std::string&, unsigned short) {}
void CAPPServerManager::SetCallBackFunc(PackageCallback, PackageCallback, UploadEndCallback) {}
void CAPPServerManager::SetConnectedFuc(ConnectedCallback) {}
void CAPPServerManager::InitServer() {}
void CAPPServerManager::UninitServer() {}
void CAPPServerManager::Stop() {}
void CAPPServerManager::DisConnect(std::string, unsigned short) {}
void CAPPServerManager::ModifyAppResSavePath(const QString&) {}

// The FP client.

class CFPClientManager::Impl {};

CFPClientManager::CFPClientManager() = default;
CFPClientManager::~CFPClientManager() = default;

void CFPClientManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package)
{
    Count(package->data, Envelope::kCodeHeaderBytes);
}

void CFPClientManager::SetCallBackFunc(PackageCallback) {}
void CFPClientManager::InitServer() {}

// Central control.

class CCentralControllerManager::Impl {};

CCentralControllerManager::CCentralControllerManager() = default;
CCentralControllerManager::~CCentralControllerManager() = default;

void CCentralControllerManager::SendData(const std::string& json, const std::string&, unsigned short)
{
    Count(json, 0);
}

void CCentralControllerManager::SetCallBackFunc(MessageCallback) {}
void CCentralControllerManager::InitServer() {}

// Cloud control.

class CCloudControlManager::Impl {};

CCloudControlManager::CCloudControlManager() = default;
CCloudControlManager::~CCloudControlManager() = default;

bool CCloudControlManager::IsConnected()
{
    return false;
}

void CCloudControlManager::SendData(const std::string& text, CloudControl::EROUTE_TYPE)
{
    Count(text, 0);
}

void CCloudControlManager::SetCloudControlMsgCallBack(MessageCallback) {}
void CCloudControlManager::InitInstance() {}
void CCloudControlManager::Connect(const CloudControl::SCloudUserInfo&) {}
void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo&) {}
void CCloudControlManager::Close() {}

// The timer.

class CTimer::Impl {};

CTimer::CTimer(std::function<void()>, double) {}
CTimer::~CTimer() = default;
void CTimer::Start() {}
void CTimer::Stop() {}
