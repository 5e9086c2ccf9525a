#pragma once

#include "HostModels/HostExControlDevModel.h"
#include "HostModels/HostShow.h"
#include "HostModels/HostSoftwareSetting.h"
#include "HostModels/HostUserModel.h"
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
