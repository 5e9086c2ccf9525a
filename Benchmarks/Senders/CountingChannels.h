#pragma once

#include <QByteArray>

#include <functional>
#include <vector>

/// The channels and the timer of the module that is measured: they throw away what goes out, so that a figure is the
/// module's own.
namespace CountingChannels {

/// How many packets have gone out so far.
int Sent();
/// The bodies of the packets that go out while send runs.
std::vector<QByteArray> BodiesSentBy(const std::function<void()>& send);

} // namespace CountingChannels
