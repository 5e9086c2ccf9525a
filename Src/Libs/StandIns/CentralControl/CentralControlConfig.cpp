#include "CentralControl/CentralControlConfig.h"

#include "Comm/ConfigBox.h"

#include <utility>

namespace {

CConfigBox<SCentralControlConfig> s_config;

} // namespace

void CentralControl::SetConfig(SCentralControlConfig config)
{
    s_config.Set(std::move(config));
}

SCentralControlConfig CentralControl::GetConfig()
{
    return s_config.Get();
}
