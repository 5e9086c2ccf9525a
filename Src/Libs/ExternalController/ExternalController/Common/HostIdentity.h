#pragma once

#include <QString>

/// The name that the operator gave this host, or else the machine's own.
QString GetHostName();

/// The first IPv4 address of this machine that isn't loopback's, or 127.0.0.1 when there is none.
QString GetLocalIPv4();
