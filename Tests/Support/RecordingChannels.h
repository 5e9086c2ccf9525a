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

/// One call of the module to a channel or to the timer.
struct SChannelCall {
    std::string name; ///< "App.SendPackage"; the makings and endings of the objects are "App.Create" and "App.Destroy"
    std::shared_ptr<const Comm::RequestPackage> package = nullptr;
    std::string text = {}; ///< what goes out as text; of a cloud login its three texts, a line each; of a serial
                           ///< channel's making its line settings, and later its port's name
    std::string ip = {};
    int port = 0;
    int number =
        0; ///< app: the channel; cloud: the route; timer: the period in milliseconds; device: the buffer's size
};

/// The channels and the timer of the module under test, without sockets and threads: they record what the module calls
/// and let a test deliver what a remote controller would send. Since the controller makes the objects itself, all that
/// they record stands in one place. Everything may be called from any thread.
namespace RecordingChannels {

/// The callbacks that the controller set last; a test that calls one plays the channel's thread. They outlive their
/// channel and the controller, as those of a channel that delivers late.
struct SCallbacks {
    CAPPServerManager::PackageCallback appTcp;
    CAPPServerManager::PackageCallback appUdp;
    CAPPServerManager::UploadEndCallback uploadEnd;
    CAPPServerManager::ConnectedCallback connected;
    CFPClientManager::PackageCallback fp;
    CCentralControllerManager::MessageCallback central;
    CCloudControlManager::MessageCallback cloud;
    std::function<void()> timer; ///< what the timer that was made last would run
};
SCallbacks Callbacks();

/// Every call so far, in order.
std::vector<SChannelCall> Calls();
std::vector<std::string> CallNames();
/// Of those the calls that send something.
std::vector<SChannelCall> Outgoing();
void ForgetCalls();

/// Runs during each later call, on the caller's thread, once the call is recorded.
void OnCall(std::function<void(const SChannelCall&)> hook);
/// What the cloud channel answers when it is asked.
void SetCloudConnected(bool connected);

/// Back to the start: no calls, no callbacks, no hook, cloud not connected.
void Reset();

} // namespace RecordingChannels
