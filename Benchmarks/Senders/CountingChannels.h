#pragma once

#include <QByteArray>

#include <functional>

/// The channels and the timer of the module that is measured: they throw away what goes out, so that a figure is the
/// module's own.
namespace CountingChannels {

/// How many packets have gone out so far.
int Sent();
/// The body of the last packet that goes out while send runs.
QByteArray BodySentBy(const std::function<void()>& send);

} // namespace CountingChannels
