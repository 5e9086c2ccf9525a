#pragma once

#include "Senders/Case.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

/// Returns the name of the benchmark of the module or of one of the handwritten ways.
std::string ModuleName(const SCase& measured);
std::string ByHandName(const SCase& measured);
std::string DirectName(const SCase& measured);

/// Prints one line for each case after all have run: the medians of the processor time and their ratio.
class CRatioReporter : public benchmark::BenchmarkReporter {
public:
    explicit CRatioReporter(const std::vector<SCase>& cases) : m_cases(cases) {}

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    bool HasFailed() const { return m_hasFailed; }
    /// Prints a line with memory peaks in kilobytes.
    void PrintMemory(const SCase& measured, std::size_t byHand, std::size_t module);

private:
    const std::vector<SCase>& m_cases;
    std::map<std::string, double> m_seconds;
    bool m_hasFailed = false;
};
