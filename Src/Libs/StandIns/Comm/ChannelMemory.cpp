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
            (*largest)->Close(reason); // releases its share of the budget
        }
    };
    relieve(
        m_input, [](const CEnvelopeConnection& connection) { return connection.InputBytes(); },
        "the channel's unfinished envelopes exceed the memory limit, and this connection holds the most");
    relieve(
        m_output, [](const CEnvelopeConnection& connection) { return connection.OutputBytes(); },
        "the channel's unsent replies exceed the memory limit, and this connection holds the most");
}
