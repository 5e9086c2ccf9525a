#include "Interfaces/ZXComm.h"

#include <chrono>

Comm::RequestPackage::RequestPackage()
{
    using namespace std::chrono;
    using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    createdMonotonic = duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
    createdWallClock = duration_cast<Ticks>(system_clock::now().time_since_epoch()).count();
}
