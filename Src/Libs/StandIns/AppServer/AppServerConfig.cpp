#include "AppServer/AppServerConfig.h"

CConfigBox<SAppServerConfig>& AppServer::Config()
{
    static CConfigBox<SAppServerConfig> config;
    return config;
}
