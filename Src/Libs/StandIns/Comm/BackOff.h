#pragma once

#include <algorithm>
#include <chrono>

/// The pauses between consecutive failed attempts. Not thread-safe.
class CBackOff {
public:
    CBackOff(std::chrono::milliseconds first, std::chrono::milliseconds longest)
        : m_first(first), m_longest(longest), m_next(first)
    {}

    /// Returns the next pause: twice the previous one, at most the longest.
    std::chrono::milliseconds Next()
    {
        const auto pause = m_next;
        m_next = std::min(2 * pause, m_longest);
        return pause;
    }

    /// To be called after a success: the next pause is the first one again.
    void Reset() { m_next = m_first; }

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_longest;
    std::chrono::milliseconds m_next;
};
