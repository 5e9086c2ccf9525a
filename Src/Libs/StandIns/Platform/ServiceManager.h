#pragma once

#include <chrono>
#include <string>

// The service manager (systemd) and its journal, if they started this process: sd_notify(3), sd_watchdog_enabled(3) and
// systemd.exec(5). Otherwise, and on Windows, these functions have no effect.

/// Sends an assignment such as "READY=1" to the service manager. Failures are ignored. Any thread.
void NotifyServiceManager(const std::string& assignment);
/// Returns the longest time that may pass between two notifications "WATCHDOG=1", or 0 if the service manager expects
/// none.
std::chrono::microseconds WatchdogLimit();
/// Returns whether lines written to this file descriptor are read by the journal: it records the time of each line and
/// reads the line's priority from a prefix such as "<6>" (sd-daemon(3)).
bool IsJournal(int fileDescriptor);
