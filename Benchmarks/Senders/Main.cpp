#include "ChannelLoad/Syscall.h"
#include "ExternalController/ExternalController.h"
#include "HostModels/HostModels.h"
#include "Senders/Case.h"
#include "Senders/CountingChannels.h"
#include "Senders/PeakMemory.h"
#include "Senders/Report.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QStringList>

#include <functional>
#include <iostream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::vector<SCase> AllCases()
{
    std::vector<SCase> all;
    for (const auto make : {Cases::SmallRequests, Cases::SceneManagerData, Cases::ResourceList, Cases::MediaList,
                            Cases::SharedFolderList, Cases::MediaThumbnail, Cases::LogTables, Cases::ProjectExport}) {
        std::vector<SCase> cases = make();
        std::move(cases.begin(), cases.end(), std::back_inserter(all));
    }
    return all;
}

/// The cases whose memory is measured.
std::vector<SCase> MemoryCases()
{
    std::vector<SCase> cases = Cases::ProjectExportMemory();
    cases.insert(cases.begin(), Cases::ResourceList().back());
    return cases;
}

bool IsSame(const SCase& measured, const std::vector<QByteArray>& sent, const QByteArray& text)
{
    // A picture follows its id.
    return measured.isSame ? measured.isSame(sent, text) : !sent.empty() && sent.back().endsWith(text);
}

/// Throws if the module's answer differs from the handwritten one.
void Check(const SCase& measured)
{
    static std::set<std::string> checked;
    if (checked.count(measured.name) != 0)
        return;
    const QByteArray text = measured.byHand();
    if (text.isEmpty() || !IsSame(measured, CountingChannels::BodiesSentBy(measured.ask), text))
        throw std::runtime_error("the module's answer differs from the handwritten one");
    const QByteArray direct = measured.direct ? measured.direct() : QByteArray();
    if (!direct.isEmpty() && direct != text)
        throw std::runtime_error("the direct answer differs from the handwritten one");
    checked.insert(measured.name);
}

/// One of the functions of a case.
struct SWay {
    std::string name;
    std::function<void()> run;
};

/// The case must exist longer than the result.
std::vector<SWay> WaysOf(const SCase& measured)
{
    std::vector<SWay> ways = {{ByHandName(measured), [&] { benchmark::DoNotOptimize(measured.byHand()); }},
                              {ModuleName(measured), [&] {
                                   const int before = CountingChannels::Sent();
                                   measured.ask();
                                   if (CountingChannels::Sent() == before)
                                       throw std::runtime_error("no packet was sent");
                               }}};
    if (measured.direct)
        ways.push_back({DirectName(measured), [&] { benchmark::DoNotOptimize(measured.direct()); }});
    return ways;
}

void Register(const SCase& measured)
{
    for (const SWay& way : WaysOf(measured)) {
        benchmark::RegisterBenchmark(way.name.c_str(), [&measured, run = way.run](benchmark::State& state) {
            try {
                Syscall::ThrowIfInterrupted();
                measured.prepare();
                Check(measured);
                for (auto _ : state)
                    run();
            } catch (const std::exception& error) {
                state.SkipWithError(error.what());
            }
        });
    }
}

/// Its instructions can be counted by name.
[[gnu::noinline]] void CountedRun(const SWay& way)
{
    way.run();
}

/// With the option --once: runs the function with this name after a run that isn't counted. Returns false without the
/// option.
bool RunOnce(const QStringList& arguments)
{
    const int option = arguments.indexOf(QStringLiteral("--once"));
    if (option == -1)
        return false;
    const std::string name = arguments.value(option + 1).toStdString();
    for (const SCase& measured : AllCases()) {
        for (const SWay& way : WaysOf(measured)) {
            if (way.name != name)
                continue;
            measured.prepare();
            Check(measured);
            way.run();
            CountedRun(way);
            return true;
        }
    }
    throw std::runtime_error("--once: expected CASE/direct, CASE/by-hand or CASE/module, got \"" + name + '"');
}

void Run(int argc, char** argv)
{
    // A flag of the command line follows its default and overrides it.
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=11";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char seconds[] = "--benchmark_min_time=0.1";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, seconds});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        throw std::runtime_error("unknown argument; see --help");

    const std::vector<SCase> cases = AllCases();
    CRatioReporter reporter(cases);
    for (const SCase& measured : cases)
        Register(measured);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (reporter.HasFailed())
        throw std::runtime_error("some cases could not be measured");
    for (const SCase& measured : MemoryCases()) {
        const auto [byHand, module] = PeakMemory::Measure(measured.name);
        reporter.PrintMemory(measured, byHand, module);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    // Pictures need a GUI application.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Without XDG_RUNTIME_DIR, Qt prints a warning in each process that measures memory.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    const QGuiApplication application(argc, argv);
    SSettings settings;
    settings.hostName = QStringLiteral("Stage left");
    HostModels::SoftwareSetting().Load(settings, {});
    InitExternalController();
    GetExternalController()->Init();
    int exitCode = 0;
    try {
        Syscall::InterruptOnSignals();
        const QStringList arguments = application.arguments();
        if (!RunOnce(arguments) && !PeakMemory::PrintAsChild(arguments, MemoryCases()))
            Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "sendercost: " << error.what() << std::endl;
        exitCode = 1;
    }
    UninitExternalController();
    return exitCode;
}
