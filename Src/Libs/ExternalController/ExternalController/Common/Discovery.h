#pragma once

/// The datagram by which an app asks who is there. Any other gets no answer.
constexpr char kDiscoveryRequest[] = "App Server request Zentravox Controller";
