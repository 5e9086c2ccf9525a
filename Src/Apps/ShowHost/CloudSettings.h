#pragma once

#include "CloudControl/CloudControlConfig.h"
#include "HostModels/Files/Settings.h"

/// Enables cloud control and sets the service's URL. If the settings contain no login data, sets the demo login.
void SwitchCloudOn(SSettings& settings, const QString& url);
/// Returns the configuration of the cloud channel.
/// \throws CFileError if the URL is invalid or the certificate file has no certificate
SCloudControlConfig CloudConfigOf(const SSettings& settings);
