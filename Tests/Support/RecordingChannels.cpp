#include "Support/RecordingChannels.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

namespace {

using Hook = std::function<void(const SChannelCall&)>;

struct SRecording {
    std::vector<SChannelCall> calls;
    RecordingChannels::SAppCallbacks app;
    CFPClientManager::PackageCallback fp;
    CCentralControllerManager::MessageCallback central;
    CCloudControlManager::MessageCallback cloud;
    std::function<void()> timer;
    Hook hook;
    bool cloudConnected = false;
};

std::mutex s_mutex;
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
    // What was there is destroyed outside the lock, with whatever it holds.
    const std::lock_guard lock(s_mutex);
    std::swap(s_recording.*member, value);
}

void Record(SChannelCall call)
{
    Hook hook;
    {
        const std::lock_guard lock(s_mutex);
        s_recording.calls.push_back(call);
        hook = s_recording.hook;
    }
    if (hook)
        hook(call);
}

void RecordPlain(const char* name)
{
    Record({name, nullptr, {}, {}, 0, 0});
}

std::string Lines(const CloudControl::SCloudUserInfo& user)
{
    return (user.first + '\n' + user.second + '\n' + user.password).toStdString();
}

bool Sends(const SChannelCall& call)
{
    return call.name == "App.SendPackage" || call.name == "App.SendUdpData" || call.name == "FP.SendPackage" ||
           call.name == "Central.SendData" || call.name == "Cloud.SendData" || call.name == "Com.AsyncSend" ||
           call.name == "Udp.SendTo";
}

} // namespace

RecordingChannels::SAppCallbacks RecordingChannels::App()
{
    return Get(&SRecording::app);
}

CFPClientManager::PackageCallback RecordingChannels::FP()
{
    return Get(&SRecording::fp);
}

CCentralControllerManager::MessageCallback RecordingChannels::Central()
{
    return Get(&SRecording::central);
}

CCloudControlManager::MessageCallback RecordingChannels::Cloud()
{
    return Get(&SRecording::cloud);
}

std::function<void()> RecordingChannels::Timer()
{
    return Get(&SRecording::timer);
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

// The app server.

class CAPPServerManager::Impl {};

CAPPServerManager::CAPPServerManager()
{
    RecordPlain("App.Create");
}

CAPPServerManager::~CAPPServerManager()
{
    RecordPlain("App.Destroy");
}

void CAPPServerManager::SendUdpData(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    Record({"App.SendUdpData", nullptr, datagram, remoteIp, remotePort, 0});
}

void CAPPServerManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package, int channel, const std::string& ip,
                                    unsigned short port)
{
    Record({"App.SendPackage", std::move(package), {}, ip, port, channel});
}

void CAPPServerManager::SetCallBackFunc(PackageCallback tcp, PackageCallback udp, UploadEndCallback uploadEnd)
{
    RecordingChannels::SAppCallbacks app = RecordingChannels::App();
    app.tcp = std::move(tcp);
    app.udp = std::move(udp);
    app.uploadEnd = std::move(uploadEnd);
    Set(&SRecording::app, std::move(app));
    RecordPlain("App.SetCallBackFunc");
}

void CAPPServerManager::SetConnectedFuc(ConnectedCallback connected)
{
    RecordingChannels::SAppCallbacks app = RecordingChannels::App();
    app.connected = std::move(connected);
    Set(&SRecording::app, std::move(app));
    RecordPlain("App.SetConnectedFuc");
}

void CAPPServerManager::InitServer()
{
    RecordPlain("App.InitServer");
}

void CAPPServerManager::UninitServer()
{
    RecordPlain("App.UninitServer");
}

void CAPPServerManager::Stop()
{
    RecordPlain("App.Stop");
}

void CAPPServerManager::DisConnect(std::string ip, unsigned short port)
{
    Record({"App.DisConnect", nullptr, {}, ip, port, 0});
}

void CAPPServerManager::ModifyAppResSavePath(const QString& path)
{
    Record({"App.ModifyAppResSavePath", nullptr, path.toStdString(), {}, 0, 0});
}

// The FP client.

class CFPClientManager::Impl {};

CFPClientManager::CFPClientManager()
{
    RecordPlain("FP.Create");
}

CFPClientManager::~CFPClientManager()
{
    RecordPlain("FP.Destroy");
}

void CFPClientManager::SendPackage(std::shared_ptr<Comm::RequestPackage> package)
{
    Record({"FP.SendPackage", std::move(package), {}, {}, 0, 0});
}

void CFPClientManager::SetCallBackFunc(PackageCallback callback)
{
    Set(&SRecording::fp, std::move(callback));
    RecordPlain("FP.SetCallBackFunc");
}

void CFPClientManager::InitServer()
{
    RecordPlain("FP.InitServer");
}

// Central control.

class CCentralControllerManager::Impl {};

CCentralControllerManager::CCentralControllerManager()
{
    RecordPlain("Central.Create");
}

CCentralControllerManager::~CCentralControllerManager()
{
    RecordPlain("Central.Destroy");
}

void CCentralControllerManager::SetCallBackFunc(MessageCallback callback)
{
    Set(&SRecording::central, std::move(callback));
    RecordPlain("Central.SetCallBackFunc");
}

void CCentralControllerManager::InitServer()
{
    RecordPlain("Central.InitServer");
}

void CCentralControllerManager::SendData(const std::string& json, const std::string& remoteIp,
                                         unsigned short remotePort)
{
    Record({"Central.SendData", nullptr, json, remoteIp, remotePort, 0});
}

// Cloud control.

class CCloudControlManager::Impl {};

CCloudControlManager::CCloudControlManager()
{
    RecordPlain("Cloud.Create");
}

CCloudControlManager::~CCloudControlManager()
{
    RecordPlain("Cloud.Destroy");
}

void CCloudControlManager::SendData(const std::string& data, CloudControl::EROUTE_TYPE route)
{
    Record({"Cloud.SendData", nullptr, data, {}, 0, route});
}

void CCloudControlManager::SetCloudControlMsgCallBack(MessageCallback callback)
{
    Set(&SRecording::cloud, std::move(callback));
    RecordPlain("Cloud.SetCloudControlMsgCallBack");
}

void CCloudControlManager::InitInstance()
{
    RecordPlain("Cloud.InitInstance");
}

void CCloudControlManager::Connect(const CloudControl::SCloudUserInfo& user)
{
    Record({"Cloud.Connect", nullptr, Lines(user), {}, 0, 0});
}

void CCloudControlManager::ValidateLogin(const CloudControl::SCloudUserInfo& user)
{
    Record({"Cloud.ValidateLogin", nullptr, Lines(user), {}, 0, 0});
}

bool CCloudControlManager::IsConnected()
{
    RecordPlain("Cloud.IsConnected");
    return Get(&SRecording::cloudConnected);
}

void CCloudControlManager::Close()
{
    RecordPlain("Cloud.Close");
}

// The devices' channels. Nothing that can fail succeeds, since nobody asks.

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
    Record({"Com.Destroy", nullptr, m_impl->portName, {}, 0, 0});
}

bool Comm::COMChannel::Open(const std::string& portName)
{
    m_impl->portName = portName;
    Record({"Com.Open", nullptr, portName, {}, 0, 0});
    return false;
}

void Comm::COMChannel::AsyncSend(std::shared_ptr<RequestPackage> package)
{
    Record({"Com.AsyncSend", std::move(package), m_impl->portName, {}, 0, 0});
}

class Comm::UDPClientChannel::Impl {};

Comm::UDPClientChannel::UDPClientChannel(std::size_t bufferBytes)
{
    Record({"Udp.Create", nullptr, {}, {}, 0, static_cast<int>(bufferBytes)});
}

Comm::UDPClientChannel::~UDPClientChannel()
{
    RecordPlain("Udp.Destroy");
}

bool Comm::UDPClientChannel::Init(const std::string& localIp, unsigned short localPort)
{
    Record({"Udp.Init", nullptr, {}, localIp, localPort, 0});
    return false;
}

bool Comm::UDPClientChannel::SendTo(const std::string& datagram, const std::string& remoteIp, unsigned short remotePort)
{
    Record({"Udp.SendTo", nullptr, datagram, remoteIp, remotePort, 0});
    return false;
}

// The timer.

class CTimer::Impl {};

CTimer::CTimer(std::function<void()> callable, double periodMilliseconds)
{
    Set(&SRecording::timer, std::move(callable));
    Record({"Timer.Create", nullptr, {}, {}, 0, static_cast<int>(periodMilliseconds)});
}

CTimer::~CTimer()
{
    RecordPlain("Timer.Destroy");
}

void CTimer::Start()
{
    RecordPlain("Timer.Start");
}

void CTimer::Stop()
{
    RecordPlain("Timer.Stop");
}
