#include "Interfaces/DeviceResource.h"

namespace {

/// Reports no DirectX version: DirectX exists only on Windows, and this host doesn't query it there.
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
