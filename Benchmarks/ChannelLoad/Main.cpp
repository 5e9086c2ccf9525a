#include "ChannelLoad/Cases.h"
#include "ChannelLoad/RawEcho.h"
#include "ChannelLoad/Report.h"
#include "ChannelLoad/ShowHostProcess.h"

#include "ExternalController/Common/Command.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <sched.h>

namespace {

bool IsHalfOfRaw(const SServerFigures& showhost)
{
    return showhost.ofRaw >= 0.5;
}

constexpr SCase kHostNameCases[] = {
    {"one at a time", Cases::OneAtATime, false, "at least 50 % of raw (aim 60)", IsHalfOfRaw},
    {"the same beside 200 idle", Cases::OneAtATimeBesideIdle, true, "at most 5 % loss",
     [](const SServerFigures& showhost) { return showhost.loss <= 0.05; }},
    {"the same beside an open page", Cases::OneAtATimeBesidePage, true, "at most 15 % loss",
     [](const SServerFigures& showhost) { return showhost.loss <= 0.15; }},
    {"64 in flight", Cases::InFlight, false, "at least 300,000 a second",
     [](const SServerFigures& showhost) { return showhost.requestsPerSecond >= 300'000; }},
};

constexpr SCase kPictureCases[] = {
    {"one at a time", Cases::OneAtATime, false, "at least 50 % of raw (aim 60)", IsHalfOfRaw},
    {"100 connections in turn", Cases::ManyConnections, false, "slowest at least half of median",
     [](const SServerFigures& showhost) { return showhost.slowestOfMedian >= 0.5; }},
};

constexpr SCase kCentralCases[] = {
    {"one at a time", Cases::OneAtATime, false, "at least 50 % of raw", IsHalfOfRaw},
    // A lost datagram ends the run with an error.
    {"64 in flight, none lost", Cases::InFlight, false, "", nullptr},
};

/// For the server's time for a request, which is smallest with many in flight.
constexpr SCase kTimeCases[] = {{"64 in flight", Cases::InFlight, false, "", nullptr}};

constexpr SCase kEmptyBodyCases[] = {
    {"one at a time", Cases::OneAtATime, false, "", nullptr},
    {"64 in flight", Cases::InFlight, false, "", nullptr},
};

/// A request and what is measured with it.
struct SSubject {
    const char* name;
    const char* body;
    const char* replyKey;
    Command::Code code; ///< of the app's request
    bool isCentral;
    const SCase* begin;
    const SCase* end;
};

// Don't change the bodies: rates are comparable only between requests of the same size.
constexpr SSubject kSubjects[] = {
    {"host name and version, by the app", R"({"client":"channelload","purpose":"measuring it"})", "version",
     Command::HostNameAndVersion, false, std::begin(kHostNameCases), std::end(kHostNameCases)},
    {"picture adjustment, by the app", R"({"client":"channelload","purpose":"measuring it"})", "fLuminance",
     Command::PictureAdjustment, false, std::begin(kPictureCases), std::end(kPictureCases)},
    {"brightness, by central control", R"({"cmd":"getGlobalBrightness"})", "globalBrightness",
     Command::PictureAdjustment, true, std::begin(kCentralCases), std::end(kCentralCases)},
    {"heartbeat, by the app", "", "result", Command::Heartbeat, false, std::begin(kTimeCases), std::end(kTimeCases)},
    {"host name and version without a body, by the app", "{}", "version", Command::HostNameAndVersion, false,
     std::begin(kEmptyBodyCases), std::end(kEmptyBodyCases)},
    {"picture adjustment without a body, by the app", "{}", "fLuminance", Command::PictureAdjustment, false,
     std::begin(kEmptyBodyCases), std::end(kEmptyBodyCases)},
    {"stage snapshot, by the app", "{}", "stageData", Command::StageSnapshot, false, std::begin(kTimeCases),
     std::end(kTimeCases)},
    {"media list, by the app", "{}", "mediaList", Command::MediaList, false, std::begin(kTimeCases),
     std::end(kTimeCases)},
};

struct SOptions {
    QString showhost;
    QString show;
    QString address;
    QString jsonFile;
    int rounds = 0;
    double seconds = 0;
    std::size_t core = 0;
};

/// Returns the last core that this process may use: the first cores serve most interrupts.
std::size_t DefaultCore()
{
    cpu_set_t cores;
    Syscall::Do("sched_getaffinity", [&] { return sched_getaffinity(0, sizeof cores, &cores); });
    std::size_t last = 0;
    for (std::size_t core = 0; core < CPU_SETSIZE; ++core) {
        if (CPU_ISSET(core, &cores))
            last = core;
    }
    return last;
}

void PinTo(std::size_t core)
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    Syscall::Do("sched_setaffinity", [&] { return sched_setaffinity(0, sizeof cores, &cores); });
}

double NumberOf(const QCommandLineParser& parser, const QString& option, double least, double most)
{
    bool isNumber = false;
    const double number = parser.value(option).toDouble(&isNumber);
    if (!isNumber || number < least || number > most) {
        throw std::runtime_error(QStringLiteral("--%1: expected a number from %3 to %4, got \"%2\"")
                                     .arg(option, parser.value(option))
                                     .arg(least)
                                     .arg(most)
                                     .toStdString());
    }
    return number;
}

SOptions ReadOptions(const QCoreApplication& application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Compares the throughput of showhost's channels with a raw epoll echo on one core.");
    parser.addHelpOption();
    parser.addOptions({
        {"showhost", "The program to measure.", "path"},
        {"show", "The show to load.", "file"},
        {"rounds", "Number of measurements of each case.", "count", "5"},
        {"seconds", "Duration of each measurement.", "seconds", "1"},
        {"address", "Address of both servers; showhost's ports are fixed.", "ip", "127.0.0.41"},
        {"core", "The core for both servers and the client.", "number", QString::number(DefaultCore())},
        {"json", "Write the results to this file too.", "file"},
    });
    parser.process(application);
    if (!parser.isSet("showhost") || !parser.isSet("show") || !parser.positionalArguments().isEmpty())
        throw std::runtime_error("expected --showhost PATH and --show FILE; see --help");
    return {parser.value("showhost"),
            parser.value("show"),
            parser.value("address"),
            parser.value("json"),
            static_cast<int>(NumberOf(parser, "rounds", 1, 1000)),
            NumberOf(parser, "seconds", 0.01, 3600),
            static_cast<std::size_t>(NumberOf(parser, "core", 0, CPU_SETSIZE - 1))};
}

double LoadAverage()
{
    double average = 0;
    return getloadavg(&average, 1) == 1 ? average : 0;
}

/// Waits until both servers have finished work that the last case left, such as closing connections; at most 1 s, since
/// constant background work is part of the measurement.
void WaitUntilIdle(const SServer& one, const SServer& other)
{
    constexpr std::chrono::milliseconds period(10);
    constexpr double idleSeconds = 0.0005;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    const auto cpu = [&] { return one.process->CpuSeconds() + other.process->CpuSeconds(); };
    double before = cpu();
    for (;;) {
        std::this_thread::sleep_for(period);
        const double now = cpu();
        if (now - before < idleSeconds || std::chrono::steady_clock::now() > deadline)
            return;
        before = now;
    }
}

std::vector<SCaseRounds> RunCases(const SServer& raw, const SServer& showhost, const SSubject& subject,
                                  const SExchange& exchange, const SOptions& options)
{
    std::vector<SCaseRounds> cases;
    for (const SCase* testCase = subject.begin; testCase != subject.end; ++testCase)
        cases.push_back({testCase, {}, {}});

    for (int round = 0; round < options.rounds; ++round) {
        for (SCaseRounds& rounds : cases) {
            const auto run = [&](const SServer& server, std::vector<SLoad>& loads) {
                WaitUntilIdle(raw, showhost);
                loads.push_back(rounds.testCase->run(server, exchange, options.seconds));
            };
            // The order changes, so that neither server always runs after the other one.
            if (round % 2 != 0)
                run(showhost, rounds.showhost);
            run(raw, rounds.raw);
            if (round % 2 == 0)
                run(showhost, rounds.showhost);
        }
    }
    return cases;
}

void WriteJson(const QString& path, const QJsonObject& json)
{
    QFile file(path);
    const QByteArray text = QJsonDocument(json).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush())
        throw std::runtime_error((path + ": " + file.errorString()).toStdString());
}

/// Sets the host's name, as an operator does. A host without a name asks the system for it at each request.
void NameHost(const CShowHostProcess& showhost)
{
    SExchange exchange;
    exchange.request = MakeAppRequest(Command::SetHostName, R"({"name": "channelload"})");
    AskForReply(CShowHostProcess::kName, showhost.AppAddress(), exchange, "result");
}

void Run(const SOptions& options)
{
    SRunConditions conditions;
    conditions.cores = static_cast<int>(std::thread::hardware_concurrency());
    conditions.pinnedTo = options.core;
    conditions.loadAverage = LoadAverage();
    conditions.seconds = options.seconds;
    conditions.rounds = static_cast<std::size_t>(options.rounds);

    PinTo(options.core); // the children inherit it
    const std::string ip = options.address.toStdString();
    const CShowHostProcess showhost(options.showhost.toStdString(), options.show.toStdString(), ip);
    NameHost(showhost);
    QJsonObject json;
    for (const SSubject& subject : kSubjects) {
        const SServer server = {&showhost.Process(),
                                subject.isCentral ? showhost.CentralAddress() : showhost.AppAddress()};
        SExchange exchange;
        exchange.isDatagram = subject.isCentral;
        exchange.request = subject.isCentral ? subject.body : MakeAppRequest(subject.code, subject.body);
        exchange.reply = AskForReply(server.process->Name(), server.address, exchange, subject.replyKey);
        const CRawEcho raw(ip, exchange);
        conditions.subject = subject.name;
        conditions.requestBytes = exchange.request.size();
        conditions.replyBytes = exchange.reply.size();

        const auto cases = RunCases({&raw.Process(), raw.Address()}, server, subject, exchange, options);
        Report::Print(std::cout, conditions, cases);
        json[subject.name] = Report::ToJson(conditions, cases);
    }
    Report::Explain(std::cout);
    if (!options.jsonFile.isEmpty())
        WriteJson(options.jsonFile, json);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    try {
        const SOptions options = ReadOptions(application);
        Syscall::InterruptOnSignals();
        Run(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "channelload: " << error.what() << std::endl;
        return 1;
    }
}
