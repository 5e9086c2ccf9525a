#include "Senders/PeakMemory.h"

#include <QCoreApplication>
#include <QProcess>

#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <malloc.h>

namespace {

const QString kByHand = QStringLiteral("--peak-by-hand");
const QString kModule = QStringLiteral("--peak-of-module");

std::size_t ReadStatus(const std::string& key)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, key.size(), key) == 0)
            return std::stoul(line.substr(key.size()));
    }
    throw std::runtime_error("/proc/self/status: no line starts with " + key);
}

template <class Way>
std::size_t GrowthOf(const Way& way)
{
    way();
    // Memory that is already free would hide the memory that the code uses.
    malloc_trim(0);
    // Writing 5 resets the peak.
    if (!(std::ofstream("/proc/self/clear_refs") << 5 << std::flush))
        throw std::runtime_error("can't write /proc/self/clear_refs");
    const std::size_t before = ReadStatus("VmRSS:");
    way();
    return ReadStatus("VmHWM:") - before;
}

std::size_t GrowthInChild(const QString& way, const std::string& name)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {way, QString::fromStdString(name)});
    child.waitForFinished(-1);
    bool isNumber = false;
    const auto growth = static_cast<std::size_t>(child.readAllStandardOutput().trimmed().toULongLong(&isNumber));
    if (!isNumber)
        throw std::runtime_error("the child process printed no memory peak");
    return growth;
}

} // namespace

PeakMemory::SPeaks PeakMemory::Measure(const std::string& name)
{
    return {GrowthInChild(kByHand, name), GrowthInChild(kModule, name)};
}

bool PeakMemory::PrintAsChild(const QStringList& arguments, const std::vector<SCase>& cases)
{
    const bool isByHand = arguments.contains(kByHand);
    if (!isByHand && !arguments.contains(kModule))
        return false;
    for (const SCase& measured : cases) {
        if (arguments.last() != QString::fromStdString(measured.name))
            continue;
        measured.prepare();
        std::cout << (isByHand ? GrowthOf(measured.byHand) : GrowthOf(measured.ask)) << std::endl;
    }
    return true;
}
