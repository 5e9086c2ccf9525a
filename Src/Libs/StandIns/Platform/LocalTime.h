#pragma once

#include <ctime>

/// The time by the machine's clock and time zone. Any thread.
std::tm LocalTime(std::time_t time);
