#pragma once

#include "CloudControl/CloudControlConfig.h"
#include "HostModels/Files/Settings.h"

/// Turns cloud control on for the service at this address; without login data of its own the host logs in as the demo.
void SwitchCloudOn(SSettings& settings, const QString& url);
/// Throws CFileError when the settings can't be used.
SCloudControlConfig CloudConfigOf(const SSettings& settings);
