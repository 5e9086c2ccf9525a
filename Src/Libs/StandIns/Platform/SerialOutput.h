#pragma once

#include <cstddef>

// What a serial port still has to transmit of what was written to it. port: the system's handle.
#if defined(_WIN32)
using SerialHandle = void*;
#else
using SerialHandle = int;
#endif

/// 0 when the system doesn't tell.
std::size_t UntransmittedBytes(SerialHandle port);
/// Without this closing the port waits for a device that takes nothing, on Linux for half a minute.
void DiscardUntransmitted(SerialHandle port);
