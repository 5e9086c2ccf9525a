#include "AppServer/AppServerConfig.h"

#include <mutex>
#include <utility>

namespace {

std::mutex s_mutex;
SAppServerConfig s_config;

} // namespace

void AppServer::SetConfig(SAppServerConfig config)
{
    const std::lock_guard lock(s_mutex);
    s_config = std::move(config);
}

SAppServerConfig AppServer::GetConfig()
{
    const std::lock_guard lock(s_mutex);
    return s_config;
}
