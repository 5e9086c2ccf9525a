#pragma once

#include <QByteArray>

#include <functional>
#include <vector>

/// The channels and the timer of the measured module. They discard all packets, so that only the module's time is
/// measured.
namespace CountingChannels {

/// Returns the number of packets that were sent so far.
int Sent();
/// Returns the bodies of the packets that are sent while send runs.
std::vector<QByteArray> BodiesSentBy(const std::function<void()>& send);

} // namespace CountingChannels
