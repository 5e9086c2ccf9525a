#include "ChannelLoad/Report.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <ostream>

namespace {

constexpr const char* kLineFormat = "%-28s %-9s %12s %9s %12s %8s %9s  %s\n";

struct SCaseFigures {
    SServerFigures raw;
    SServerFigures showhost;
};

/// Returns the median of figure(round) over the rounds.
template <class Figure>
double MedianOf(std::size_t rounds, Figure figure)
{
    std::vector<double> values;
    for (std::size_t round = 0; round < rounds; ++round)
        values.push_back(figure(round));
    std::sort(values.begin(), values.end());
    const std::size_t half = rounds / 2;
    return rounds % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

double RatioOf(const std::vector<SLoad>& loads, const std::vector<SLoad>& toLoads)
{
    return MedianOf(loads.size(),
                    [&](std::size_t i) { return loads[i].requestsPerSecond / toLoads[i].requestsPerSecond; });
}

SServerFigures FiguresOf(const SCaseRounds& rounds, const SCaseRounds& firstRounds,
                         std::vector<SLoad> SCaseRounds::*server)
{
    const std::vector<SLoad>& loads = rounds.*server;
    SServerFigures figures;
    figures.requestsPerSecond = MedianOf(loads.size(), [&](std::size_t i) { return loads[i].requestsPerSecond; });
    figures.cpuMicroseconds = MedianOf(loads.size(), [&](std::size_t i) { return loads[i].cpuMicroseconds; });
    figures.ofRaw = RatioOf(loads, rounds.raw);
    if (rounds.testCase->isComparedWithFirst)
        figures.loss = 1 - RatioOf(loads, firstRounds.*server);
    if (loads.front().slowestOfMedian)
        figures.slowestOfMedian =
            MedianOf(loads.size(), [&](std::size_t i) { return loads[i].slowestOfMedian.value_or(0); });
    return figures;
}

/// Over all measurements. If it is much below 1, other processes have influenced the rates.
double CoreShare(const std::vector<SCaseRounds>& cases)
{
    std::vector<SLoad> loads;
    for (const SCaseRounds& rounds : cases) {
        loads.insert(loads.end(), rounds.raw.begin(), rounds.raw.end());
        loads.insert(loads.end(), rounds.showhost.begin(), rounds.showhost.end());
    }
    return MedianOf(loads.size(), [&](std::size_t i) { return loads[i].coreShare; });
}

SCaseFigures FiguresOf(const SCaseRounds& rounds, const SCaseRounds& firstRounds)
{
    return {FiguresOf(rounds, firstRounds, &SCaseRounds::raw), FiguresOf(rounds, firstRounds, &SCaseRounds::showhost)};
}

template <class... Args>
std::string Format(const char* format, Args... args)
{
    char text[200];
    std::snprintf(text, sizeof text, format, args...);
    return text;
}

std::string Thousands(double number)
{
    std::string digits = Format("%.0f", number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, 1, ',');
    return digits;
}

std::string Percent(std::optional<double> part)
{
    return part ? Format("%.1f %%", *part * 100) : std::string();
}

std::string LineOf(const char* name, const char* server, const SServerFigures& figures, const std::string& target)
{
    return Format(kLineFormat, name, server, Thousands(figures.requestsPerSecond).c_str(),
                  Percent(figures.ofRaw).c_str(), Format("%.2f", figures.cpuMicroseconds).c_str(),
                  Percent(figures.loss).c_str(), Percent(figures.slowestOfMedian).c_str(), target.c_str());
}

std::string TargetOf(const SCase& testCase, const SServerFigures& showhost)
{
    if (!testCase.isMet)
        return {};
    return std::string(testCase.target) + (testCase.isMet(showhost) ? ": met" : ": MISSED");
}

QJsonObject JsonOf(const std::vector<SLoad>& loads, const SServerFigures& figures)
{
    QJsonArray rates;
    QJsonArray cpu;
    for (const SLoad& load : loads) {
        rates.append(load.requestsPerSecond);
        cpu.append(load.cpuMicroseconds);
    }
    QJsonObject json = {
        {"requestsPerSecond", figures.requestsPerSecond},
        {"ofRaw", figures.ofRaw},
        {"cpuMicrosecondsPerRequest", figures.cpuMicroseconds},
        {"roundsRequestsPerSecond", rates},
        {"roundsCpuMicrosecondsPerRequest", cpu},
    };
    if (figures.loss)
        json["loss"] = *figures.loss;
    if (figures.slowestOfMedian)
        json["slowestConnectionOfMedian"] = *figures.slowestOfMedian;
    return json;
}

} // namespace

void Report::Print(std::ostream& out, const SRunConditions& conditions, const std::vector<SCaseRounds>& cases)
{
    out << conditions.subject << '\n'
        << Format("%d cores, load average %.2f before; server and client pinned to core %zu, which they used for %.0f "
                  "%% of the "
                  "time\n",
                  conditions.cores, conditions.loadAverage, conditions.pinnedTo, CoreShare(cases) * 100)
        << Format("medians of %zu rounds of %g s; request %zu bytes, reply %zu\n\n", conditions.rounds,
                  conditions.seconds, conditions.requestBytes, conditions.replyBytes);
    out << Format(kLineFormat, "", "server", "requests/s", "of raw", "CPU us each", "loss", "slowest", "target");
    for (const SCaseRounds& rounds : cases) {
        const SCaseFigures figures = FiguresOf(rounds, cases.front());
        out << LineOf(rounds.testCase->name, "raw", figures.raw, {})
            << LineOf("", "showhost", figures.showhost, TargetOf(*rounds.testCase, figures.showhost));
    }
    out << '\n';
}

void Report::Explain(std::ostream& out)
{
    out << "of raw: showhost's rate divided by the raw echo's in the same round; CPU us each: the server's "
           "processor\n"
           "time for one request; loss: relative to the same server with only one connection; slowest: the slowest\n"
           "connection's requests divided by the median connection's.\n";
}

QJsonObject Report::ToJson(const SRunConditions& conditions, const std::vector<SCaseRounds>& cases)
{
    QJsonArray list;
    for (const SCaseRounds& rounds : cases) {
        const SCaseFigures figures = FiguresOf(rounds, cases.front());
        QJsonObject json = {
            {"name", rounds.testCase->name},
            {"raw", JsonOf(rounds.raw, figures.raw)},
            {"showhost", JsonOf(rounds.showhost, figures.showhost)},
        };
        if (rounds.testCase->isMet) {
            json["target"] = rounds.testCase->target;
            json["targetMet"] = rounds.testCase->isMet(figures.showhost);
        }
        list.append(json);
    }
    return {
        {"cores", conditions.cores},
        {"pinnedToCore", static_cast<int>(conditions.pinnedTo)},
        {"loadAverageBefore", conditions.loadAverage},
        {"coreShare", CoreShare(cases)},
        {"secondsPerRound", conditions.seconds},
        {"requestBytes", static_cast<int>(conditions.requestBytes)},
        {"replyBytes", static_cast<int>(conditions.replyBytes)},
        {"cases", list},
    };
}
