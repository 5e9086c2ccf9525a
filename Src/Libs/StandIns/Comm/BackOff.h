#pragma once

#include <algorithm>
#include <chrono>

/// The pauses between tries that fail one after the other.
class CBackOff {
public:
    CBackOff(std::chrono::milliseconds first, std::chrono::milliseconds longest)
        : m_first(first), m_longest(longest), m_next(first)
    {}

    /// Twice as long as the one before, up to the longest.
    std::chrono::milliseconds Next()
    {
        const auto pause = m_next;
        m_next = std::min(2 * pause, m_longest);
        return pause;
    }

    /// After a success: the next pause is the first one again.
    void Reset() { m_next = m_first; }

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_longest;
    std::chrono::milliseconds m_next;
};
