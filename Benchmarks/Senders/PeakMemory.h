#pragma once

#include "Senders/Case.h"

#include <QStringList>

#include <cstddef>

/// The memory that an answer needs at its highest, on top of what the process has, in kilobytes. Each way is measured
/// in a process of its own, which has answered once before.
namespace PeakMemory {

struct SPeaks {
    std::size_t byHand;
    std::size_t module;
};

/// Starts this program once more for each way.
SPeaks Measure();
/// In a program that Measure has started: prints the figure. False in any other.
bool PrintAsChild(const QStringList& arguments, const SCase& measured);

} // namespace PeakMemory
