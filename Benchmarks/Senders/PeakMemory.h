#pragma once

#include "Senders/Case.h"

#include <QStringList>

#include <cstddef>
#include <string>
#include <vector>

/// The peak of the memory that an answer needs in addition to the process's memory, in kilobytes. The module and the
/// handwritten code are measured in separate processes, which have answered once before.
namespace PeakMemory {

struct SPeaks {
    std::size_t byHand;
    std::size_t module;
};

/// Starts this program twice for the case with this name: for the module and for the handwritten code.
SPeaks Measure(const std::string& name);
/// Prints the peak of the case and returns true in a process that Measure has started; returns false in others.
bool PrintAsChild(const QStringList& arguments, const std::vector<SCase>& cases);

} // namespace PeakMemory
