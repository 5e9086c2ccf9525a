#pragma once

#include "CloudControl/CloudControlConfig.h"
#include "FPClient/FPClientConfig.h"
#include "HostModels/Files/Settings.h"

#include <QString>

// The configuration of the channels for which the host is the client.

/// Enables cloud control and sets the service's URL. If the settings contain no login data, sets the demo login.
void SwitchCloudOn(SSettings& settings, const QString& url);
/// Returns the configuration of the cloud channel.
/// \throws CFileError if the URL is invalid or the certificate file has no certificate
SCloudControlConfig CloudConfigOf(const SSettings& settings);

/// Returns the configuration of the FP channel.
/// \param address the value of --fp, "HOST:PORT" or, for an IPv6 address, "[HOST]:PORT"; if not empty, overrides the
///                settings
/// \throws CFileError if the address has another form
SFPClientConfig FPClientConfigOf(const SSettings& settings, const QString& address);
