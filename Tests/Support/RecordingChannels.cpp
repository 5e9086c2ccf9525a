#include "Support/RecordingChannels.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <utility>

namespace {

using RecordingChannels::SCallbacks;
using Hook = std::function<void(const SChannelCall&)>;

struct SRecording {
    std::vector<SChannelCall> calls;
    SCallbacks callbacks;
    Hook hook;
    bool cloudConnected = false;
};

std::mutex s_mutex;
std::atomic<void (*)(const SChannelCall&)> s_check{nullptr};
SRecording s_recording;

template <class Value>
Value Get(Value SRecording::*member)
{
    const std::lock_guard lock(s_mutex);
    return s_recording.*member;
}

template <class Value>
void Set(Value SRecording::*member, Value value)
{
    // The old values are destroyed outside the lock.
    const std::lock_guard lock(s_mutex);
    std::swap(s_recording.*member, value);
}

template <class Callback>
void SetCallback(Callback SCallbacks::*member, Callback callback)
{
    SCallbacks callbacks = RecordingChannels::Callbacks();
    callbacks.*member = std::move(callback);
    Set(&SRecording::callbacks, std::move(callbacks));
}

void Record(SChannelCall call)
{
    if (const auto check = s_check.load())
        check(call);
    Hook hook;
    {
        const std::lock_guard lock(s_mutex);
        s_recording.calls.push_back(call);
        hook = s_recording.hook;
    }
    if (hook)
        hook(call);
}

std::string Lines(const CloudControl::SCloudUserInfo& user)
{
    return (user.first + '\n' + user.second + '\n' + user.password).toStdString();
}

bool Sends(const SChannelCall& call)
{
    return call.name.find("Send") != std::string::npos;
}

} // namespace

RecordingChannels::SCallbacks RecordingChannels::Callbacks()
{
    return Get(&SRecording::callbacks);
}

std::vector<SChannelCall> RecordingChannels::Calls()
{
    return Get(&SRecording::calls);
}

std::vector<std::string> RecordingChannels::CallNames()
{
    const std::vector<SChannelCall> calls = Calls();
    std::vector<std::string> names;
    std::transform(calls.begin(), calls.end(), std::back_inserter(names), [](const auto& call) { return call.name; });
    return names;
}

std::vector<SChannelCall> RecordingChannels::Outgoing()
{
    const std::vector<SChannelCall> calls = Calls();
    std::vector<SChannelCall> sent;
    std::copy_if(calls.begin(), calls.end(), std::back_inserter(sent), Sends);
    return sent;
}

void RecordingChannels::ForgetCalls()
{
    Set(&SRecording::calls, {});
}

void RecordingChannels::OnCall(Hook hook)
{
    Set(&SRecording::hook, std::move(hook));
}

void RecordingChannels::CheckEachCall(void (*check)(const SChannelCall&))
{
    s_check = check;
}

void RecordingChannels::SetCloudConnected(bool connected)
{
    Set(&SRecording::cloudConnected, connected);
}

void RecordingChannels::Reset()
{
    SRecording fresh;
    const std::lock_guard lock(s_mutex);
    std::swap(s_recording, fresh);
}

class CAPPServerManager::Impl {};
class CFPClientManager::Impl {};
class CCentralControllerManager::Impl {};
class CCloudControlManager::Impl {};
class Comm::UDPClientChannel::Impl {};
class CTimer::Impl {};

/// Records an operation by its name only.
#define RECORDS(operation, name)                                                                                       \
    operation                                                                                                          \
    {                                                                                                                  \
        Record({name});                                                                                                \
    }

// The app server.

RECORDS(CAPPServerManager::CAPPServerManager(), "App.Create")
RECORDS(CAPPServerManager::~CAPPServerManager(), "App.Destroy")

void CAPPServerManager::SendUdpData(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    Record({"App.SendUdpData", nullptr, datagram, remoteIp, remotePort});
}

void CAPPServerManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package, int channel, const std::string& ip,
                                    unsigned short port)
{
    Record({"App.SendPackage", std::move(package), {}, ip, port, channel});
}

void CAPPServerManager::SetCallBackFunc(PackageCallback tcp, PackageCallback udp, UploadEndCallback uploadEnd)
{
    SetCallback(&SCallbacks::appTcp, std::move(tcp));
    SetCallback(&SCallbacks::appUdp, std::move(udp));
    SetCallback(&SCallbacks::uploadEnd, std::move(uploadEnd));
    Record({"App.SetCallBackFunc"});
}

void CAPPServerManager::SetConnectedFuc(ConnectedCallback connected)
{
    SetCallback(&SCallbacks::connected, std::move(connected));
    Record({"App.SetConnectedFuc"});
}

RECORDS(void CAPPServerManager::InitServer(), "App.InitServer")
RECORDS(void CAPPServerManager::UninitServer(), "App.UninitServer")
RECORDS(void CAPPServerManager::Stop(), "App.Stop")

void CAPPServerManager::DisConnect(std::string ip, unsigned short port)
{
    Record({"App.DisConnect", nullptr, {}, ip, port});
}

void CAPPServerManager::ModifyAppResSavePath(const QString& path)
{
    Record({"App.ModifyAppResSavePath", nullptr, path.toStdString()});
}

// The FP client.

RECORDS(CFPClientManager::CFPClientManager(), "FP.Create")
RECORDS(CFPClientManager::~CFPClientManager(), "FP.Destroy")

void CFPClientManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package)
{
    Record({"FP.SendPackage", std::move(package)});
}

void CFPClientManager::SetCallBackFunc(PackageCallback callback)
{
    SetCallback(&SCallbacks::fp, std::move(callback));
    Record({"FP.SetCallBackFunc"});
}

RECORDS(void CFPClientManager::InitServer(), "FP.InitServer")

// Central control.

RECORDS(CCentralControllerManager::CCentralControllerManager(), "Central.Create")
RECORDS(CCentralControllerManager::~CCentralControllerManager(), "Central.Destroy")

void CCentralControllerManager::SetCallBackFunc(MessageCallback callback)
{
    SetCallback(&SCallbacks::central, std::move(callback));
    Record({"Central.SetCallBackFunc"});
}

RECORDS(void CCentralControllerManager::InitServer(), "Central.InitServer")

void CCentralControllerManager::SendData(const std::string& json, const std::string& remoteIp,
                                         unsigned short remotePort)
{
    Record({"Central.SendData", nullptr, json, remoteIp, remotePort});
}

// Cloud control.

RECORDS(CCloudControlManager::CCloudControlManager(), "Cloud.Create")
RECORDS(CCloudControlManager::~CCloudControlManager(), "Cloud.Destroy")

void CCloudControlManager::SendData(const std::string& data, CloudControl::EROUTE_TYPE route)
{
    Record({"Cloud.SendData", nullptr, data, {}, 0, route});
}

void CCloudControlManager::SetCloudControlMsgCallBack(MessageCallback callback)
{
    SetCallback(&SCallbacks::cloud, std::move(callback));
    Record({"Cloud.SetCloudControlMsgCallBack"});
}

RECORDS(void CCloudControlManager::InitInstance(), "Cloud.InitInstance")

void CCloudControlManager::Connect(const CloudControl::SCloudUserInfo& user)
{
    Record({"Cloud.Connect", nullptr, Lines(user)});
}

void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo& user)
{
    Record({"Cloud.ValidateLogin", nullptr, Lines(user)});
}

bool CCloudControlManager::IsConnected()
{
    Record({"Cloud.IsConnected"});
    return Get(&SRecording::cloudConnected);
}

RECORDS(void CCloudControlManager::Close(), "Cloud.Close")

// The devices' channels. Functions that can fail return failure; the module ignores the results.

class Comm::COMChannel::Impl {
public:
    std::string portName;
};

Comm::COMChannel::COMChannel(std::size_t bufferBytes, const std::string& lineSettings)
    : m_impl(std::make_unique<Impl>())
{
    Record({"Com.Create", nullptr, lineSettings, {}, 0, static_cast<int>(bufferBytes)});
}

Comm::COMChannel::~COMChannel()
{
    Record({"Com.Destroy", nullptr, m_impl->portName});
}

bool Comm::COMChannel::Open(const std::string& portName)
{
    m_impl->portName = portName;
    Record({"Com.Open", nullptr, portName});
    return false;
}

void Comm::COMChannel::AsyncSend(std::shared_ptr<RequestPackage> package)
{
    Record({"Com.AsyncSend", std::move(package), m_impl->portName});
}

Comm::UDPClientChannel::UDPClientChannel(std::size_t bufferBytes)
{
    Record({"Udp.Create", nullptr, {}, {}, 0, static_cast<int>(bufferBytes)});
}

RECORDS(Comm::UDPClientChannel::~UDPClientChannel(), "Udp.Destroy")

bool Comm::UDPClientChannel::Init(const std::string& localIp, unsigned short localPort)
{
    Record({"Udp.Init", nullptr, {}, localIp, localPort});
    return false;
}

bool Comm::UDPClientChannel::SendTo(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    Record({"Udp.SendTo", nullptr, datagram, remoteIp, remotePort});
    return false;
}

// The timer.

CTimer::CTimer(std::function<void()> callable, double periodMilliseconds)
{
    SetCallback(&SCallbacks::timer, std::move(callable));
    Record({"Timer.Create", nullptr, {}, {}, 0, static_cast<int>(periodMilliseconds)});
}

RECORDS(CTimer::~CTimer(), "Timer.Destroy")
RECORDS(void CTimer::Start(), "Timer.Start")
RECORDS(void CTimer::Stop(), "Timer.Stop")
