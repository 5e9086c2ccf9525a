#include "FPClient/FPClientConfig.h"

CConfigBox<SFPClientConfig>& FPClient::Config()
{
    static CConfigBox<SFPClientConfig> config;
    return config;
}
