#include "CloudControl/CloudControlConfig.h"

#include "Comm/ConfigBox.h"

#include <utility>

namespace {

CConfigBox<SCloudControlConfig> s_config;

} // namespace

void CloudControl::SetConfig(SCloudControlConfig config)
{
    s_config.Set(std::move(config));
}

SCloudControlConfig CloudControl::GetConfig()
{
    return s_config.Get();
}
