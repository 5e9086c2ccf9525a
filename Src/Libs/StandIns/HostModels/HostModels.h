#pragma once

#include "HostModels/Models/HostExControlDevModel.h"
#include "HostModels/Models/HostSoftwareSetting.h"
#include "HostModels/Models/HostUserModel.h"
#include "HostModels/Show/HostShow.h"
#include "Interfaces/ResultModel.h"
#include "Log/ShowLog.h"

#include <functional>

/// The host's access to the models. The module accesses the same objects through the interfaces' GetInstance. They
/// exist until the process ends.
namespace HostModels {

CHostSoftwareSetting& SoftwareSetting();
CHostUserModel& UserModel();
CHostShow& Show();
CHostExControlDevModel& Devices();
CShowLog& ShowLog();

/// Sets the function that executes the commands which the module passes to the host. It is called on the channels'
/// threads, also concurrently. Call this only while no channel is running; an empty function ignores commands.
void SetResultHandler(std::function<void(const SResultData&)> handler);

} // namespace HostModels
