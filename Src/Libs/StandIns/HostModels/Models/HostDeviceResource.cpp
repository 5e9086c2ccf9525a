#include "Interfaces/DeviceResource.h"

namespace {

/// DirectX exists on Windows only, where this host doesn't ask for its version.
class CHostDeviceResource : public CDeviceResource {
public:
    QString GetDirectXVersion() override { return {}; }
};

} // namespace

CDeviceResource* GetDeviceResource()
{
    static CHostDeviceResource resource;
    return &resource;
}
