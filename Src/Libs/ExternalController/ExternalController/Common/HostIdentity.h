#pragma once

#include <QString>

/// Returns the host name from the software settings, or the machine's name if the settings have none.
QString GetHostName();

/// Returns the first IPv4 address of this machine other than 127.0.0.1, or 127.0.0.1 if it has no other.
QString GetLocalIPv4();
