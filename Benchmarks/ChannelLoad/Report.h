#pragma once

#include "ChannelLoad/Cases.h"

#include <iosfwd>
#include <vector>

class QJsonObject;

/// The results of one server in one case: medians over the rounds. Ratios are calculated within each round, where both
/// servers had the same conditions; the result is the median of the ratios.
struct SServerFigures {
    double requestsPerSecond = 0;
    double cpuMicroseconds = 0;
    double ofRaw = 1;
    std::optional<double> loss; ///< against the same server's first case
    std::optional<double> slowestOfMedian;
};

/// One line of the table of cases.
struct SCase {
    const char* name;
    SLoad (*run)(const SServer& server, const SExchange& exchange, double seconds);
    bool isComparedWithFirst;
    const char* target; ///< of showhost, or empty
    bool (*isMet)(const SServerFigures& showhost);
};

/// All rounds of one case. Losses are relative to the first case.
struct SCaseRounds {
    const SCase* testCase;
    std::vector<SLoad> raw;
    std::vector<SLoad> showhost;
};

struct SRunConditions {
    const char* subject = "";
    int cores = 0;
    std::size_t pinnedTo = 0;
    double loadAverage = 0; ///< of the last minute before the run
    double seconds = 0;
    std::size_t rounds = 0;
    std::size_t requestBytes = 0;
    std::size_t replyBytes = 0;
};

namespace Report {

void Print(std::ostream& out, const SRunConditions& conditions, const std::vector<SCaseRounds>& cases);
/// Writes the explanation of the columns.
void Explain(std::ostream& out);
/// Returns the medians and the results of each round.
QJsonObject ToJson(const SRunConditions& conditions, const std::vector<SCaseRounds>& cases);

} // namespace Report
