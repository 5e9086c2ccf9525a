#pragma once

#include <ctime>

/// Converts the time to the local time zone. Any thread.
inline std::tm LocalTime(std::time_t time)
{
    std::tm parts{};
#if defined(_WIN32)
    localtime_s(&parts, &time);
#else
    localtime_r(&time, &parts);
#endif
    return parts;
}
