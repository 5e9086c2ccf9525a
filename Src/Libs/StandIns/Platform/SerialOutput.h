#pragma once

#include <cstddef>

// The data that was written to a serial port and is not transmitted yet. port: the native handle of the port.
#if defined(_WIN32)
using SerialHandle = void*;
#else
using SerialHandle = int;
#endif

/// Returns the number of bytes that are not transmitted yet; 0 if the system does not report it.
std::size_t UntransmittedBytes(SerialHandle port);
/// Discards the data that is not transmitted yet. Otherwise closing the port waits while the device accepts no data, on
/// Linux for 30 s.
void DiscardUntransmitted(SerialHandle port);
