#pragma once

#include "Senders/Case.h"

#include <QStringList>

#include <cstddef>
#include <string>
#include <vector>

/// The memory that an answer needs at its highest, on top of what the process has, in kilobytes. Each way is measured
/// in a process of its own, which has answered once before.
namespace PeakMemory {

struct SPeaks {
    std::size_t byHand;
    std::size_t module;
};

/// Starts this program once more for each way of the case that is called so.
SPeaks Measure(const std::string& name);
/// In a program that Measure has started: prints the figure of the case that it names. False in any other.
bool PrintAsChild(const QStringList& arguments, const std::vector<SCase>& cases);

} // namespace PeakMemory
