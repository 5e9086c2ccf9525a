#pragma once

#include <chrono>
#include <thread>

/// How long a test waits for what must come. Generous: it is only used up by a failure.
constexpr std::chrono::seconds kPatience(20);

/// Waits for what another thread does; false when patience runs out first.
template <class Condition>
bool WaitUntil(Condition&& condition, std::chrono::milliseconds patience = kPatience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
