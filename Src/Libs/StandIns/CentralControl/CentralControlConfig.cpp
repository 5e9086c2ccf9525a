#include "CentralControl/CentralControlConfig.h"

CConfigBox<SCentralControlConfig>& CentralControl::Config()
{
    static CConfigBox<SCentralControlConfig> config;
    return config;
}
