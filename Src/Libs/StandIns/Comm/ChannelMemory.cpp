#include "Comm/ChannelMemory.h"

#include "Comm/EnvelopeConnection.h"

#include <algorithm>
#include <utility>

CChannelMemory::CChannelMemory(const SChannelLimits& limits, Connections connections)
    : m_connections(std::move(connections)), m_input(limits.maxInputBytes), m_output(limits.maxOutputBytes)
{}

void CChannelMemory::CloseLargest()
{
    const auto connections = m_connections();
    const auto relieve = [&](const CMemoryBudget& budget, auto heldBy, const char* reason) {
        while (budget.IsExceeded()) {
            const auto largest =
                std::max_element(connections.begin(), connections.end(),
                                 [&](const auto& a, const auto& b) { return heldBy(*a) < heldBy(*b); });
            if (largest == connections.end() || heldBy(**largest) == 0)
                return;
            (*largest)->Close(reason); // gives up its share
        }
    };
    relieve(
        m_input, [](const CEnvelopeConnection& connection) { return connection.InputBytes(); },
        "the channel's unfinished envelopes take too much memory, and this one takes the most");
    relieve(
        m_output, [](const CEnvelopeConnection& connection) { return connection.OutputBytes(); },
        "the channel's unsent replies take too much memory, and this peer's take the most");
}
