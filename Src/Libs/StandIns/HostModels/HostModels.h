#pragma once

#include "HostModels/Models/HostExControlDevModel.h"
#include "HostModels/Models/HostSoftwareSetting.h"
#include "HostModels/Models/HostUserModel.h"
#include "HostModels/Show/HostShow.h"
#include "Interfaces/ResultModel.h"
#include "Log/ShowLog.h"

#include <functional>

/// The host's own side of the models that the module reaches through their GetInstance.
namespace HostModels {

CHostSoftwareSetting& SoftwareSetting();
CHostUserModel& UserModel();
CHostShow& Show();
CHostExControlDevModel& Devices();
CShowLog& ShowLog();

/// Sets who carries out what the module hands to the host; it runs on the channels' threads, several at a time.
/// Not while a channel is running.
void SetResultHandler(std::function<void(const SResultData&)> handler);

} // namespace HostModels
