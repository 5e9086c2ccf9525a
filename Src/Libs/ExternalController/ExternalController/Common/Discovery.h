#pragma once

/// The datagram with which an app discovers hosts. Any other datagram is ignored.
constexpr char kDiscoveryRequest[] = "App Server request Zentravox Controller";
