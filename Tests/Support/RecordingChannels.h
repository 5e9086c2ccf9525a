#pragma once

#include "Interfaces/AppServer.h"
#include "Interfaces/CentralControl.h"
#include "Interfaces/CloudControl.h"
#include "Interfaces/Common.h"
#include "Interfaces/DeviceChannels.h"
#include "Interfaces/FPClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// One call that the module made to a channel or to the timer.
struct SChannelCall {
    std::string name; ///< "App.SendPackage"; construction and destruction are "App.Create" and "App.Destroy"
    std::shared_ptr<const Comm::RequestPackage> package = nullptr;
    std::string text = {}; ///< the text that is sent; for a cloud login its three texts, one per line; for the
                           ///< creation of a serial channel its line settings, and later its port's name
    std::string ip = {};
    int port = 0;
    int number =
        0; ///< app: the channel; cloud: the route; timer: the period in milliseconds; device: the buffer's size
};

/// The channels and the timer of the module under test, without sockets and threads: they record the module's calls and
/// let a test deliver the messages of a remote controller. The records are global, since the controller creates the
/// objects itself. All functions may be called from any thread.
namespace RecordingChannels {

/// The callbacks that the controller set last. A test that calls one acts as the channel's thread. They outlive the
/// channel and the controller, like the callbacks of a channel that delivers late.
struct SCallbacks {
    CAPPServerManager::PackageCallback appTcp;
    CAPPServerManager::PackageCallback appUdp;
    CAPPServerManager::UploadEndCallback uploadEnd;
    CAPPServerManager::ConnectedCallback connected;
    CFPClientManager::PackageCallback fp;
    CCentralControllerManager::MessageCallback central;
    CCloudControlManager::MessageCallback cloud;
    std::function<void()> timer; ///< the function of the timer that was created last
};
SCallbacks Callbacks();

/// Returns all calls so far, in order.
std::vector<SChannelCall> Calls();
std::vector<std::string> CallNames();
/// Returns the calls so far that send something.
std::vector<SChannelCall> Outgoing();
void ForgetCalls();

/// Sets a function that each later call runs on the caller's thread, after the call is recorded.
void OnCall(std::function<void(const SChannelCall&)> hook);
/// Sets a function that each later call runs on the caller's thread; Reset doesn't remove it.
void CheckEachCall(void (*check)(const SChannelCall&));
/// Sets what the cloud channel returns from IsConnected().
void SetCloudConnected(bool connected);

/// Restores the initial state: no calls, no callbacks, no hook, cloud not connected.
void Reset();

} // namespace RecordingChannels
