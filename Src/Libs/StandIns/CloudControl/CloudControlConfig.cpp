#include "CloudControl/CloudControlConfig.h"

CConfigBox<SCloudControlConfig>& CloudControl::Config()
{
    static CConfigBox<SCloudControlConfig> config;
    return config;
}
