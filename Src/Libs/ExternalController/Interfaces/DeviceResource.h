#pragma once

#include <QString>

/// The host's graphics device.
class CDeviceResource {
public:
    virtual ~CDeviceResource() = default;

    virtual QString GetDirectXVersion() = 0;
};

CDeviceResource* GetDeviceResource();
