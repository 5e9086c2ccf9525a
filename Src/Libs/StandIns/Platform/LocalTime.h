#pragma once

#include <ctime>

/// Converts the time to the local time zone. Any thread.
std::tm LocalTime(std::time_t time);
