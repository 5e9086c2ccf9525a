#include "Senders/Report.h"

#include <cstdio>
#include <ostream>

namespace {

std::string AimText(double ratio, double aim)
{
    char text[60];
    std::snprintf(text, sizeof text, "%8.2f  at most %g: %s", ratio, aim, ratio <= aim ? "met" : "MISSED");
    return text;
}

} // namespace

std::string ModuleName(const SCase& measured)
{
    return measured.name + "/module";
}

std::string ByHandName(const SCase& measured)
{
    return measured.name + "/by-hand";
}

std::string DirectName(const SCase& measured)
{
    return measured.name + "/direct";
}

bool CRatioReporter::ReportContext(const Context& context)
{
    PrintBasicContext(&GetErrorStream(), context);
    return true;
}

void CRatioReporter::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        if (run.error_occurred) {
            m_hasFailed = true;
            GetErrorStream() << run.benchmark_name() << ": " << run.error_message << '\n';
        } else if (run.aggregate_name == "median" || run.repetitions == 1) {
            m_seconds[run.run_name.function_name] =
                run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
    }
}

void CRatioReporter::Finalize()
{
    char line[200];
    std::snprintf(line, sizeof line, "%-28s %11s %11s %11s %11s %8s %8s\n", "", "direct us", "by hand us", "module us",
                  "us an item", "of hand", "ratio");
    GetOutputStream() << line;
    for (const SCase& measured : m_cases) {
        const auto byHand = m_seconds.find(ByHandName(measured));
        const auto module = m_seconds.find(ModuleName(measured));
        if (byHand == m_seconds.end() || module == m_seconds.end())
            continue;
        const auto direct = m_seconds.find(DirectName(measured));
        const double floor = direct == m_seconds.end() ? byHand->second : direct->second;
        std::snprintf(line, sizeof line, "%-28s %11.2f %11.2f %11.2f %11.2f %8.2f %s\n", measured.name.c_str(),
                      direct == m_seconds.end() ? 0 : direct->second * 1e6, byHand->second * 1e6, module->second * 1e6,
                      module->second * 1e6 / measured.items, module->second / byHand->second,
                      AimText(module->second / floor, measured.aim).c_str());
        GetOutputStream() << line;
    }
}

void CRatioReporter::PrintMemory(const SCase& measured, std::size_t byHand, std::size_t module)
{
    char line[200];
    std::snprintf(line, sizeof line, "%-28s %9zu kB %9zu kB %12s %s\n", (measured.name + " peak").c_str(), byHand,
                  module, "", AimText(static_cast<double>(module) / static_cast<double>(byHand), measured.aim).c_str());
    GetOutputStream() << line;
}
