#include "AppServer/AppServerConfig.h"

#include "Comm/ConfigBox.h"

#include <utility>

namespace {

CConfigBox<SAppServerConfig> s_config;

} // namespace

void AppServer::SetConfig(SAppServerConfig config)
{
    s_config.Set(std::move(config));
}

SAppServerConfig AppServer::GetConfig()
{
    return s_config.Get();
}
