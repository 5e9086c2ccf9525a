#include "FPClient/FPClientConfig.h"

#include "Comm/ConfigBox.h"

#include <utility>

namespace {

CConfigBox<SFPClientConfig> s_config;

} // namespace

void FPClient::SetConfig(SFPClientConfig config)
{
    s_config.Set(std::move(config));
}

SFPClientConfig FPClient::GetConfig()
{
    return s_config.Get();
}
