#include "ShowRemote/Recording/Summary.h"

#include "Comm/PayloadText.h"
#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Contract.h"

#include <QJsonObject>

#include <algorithm>
#include <map>
#include <set>

namespace {

struct STotals {
    int fromRemote = 0;
    int fromHost = 0;
    int errors = 0;
    std::vector<double> latencies; ///< in milliseconds
};

bool IsRefusal(const SRecordedLine& line)
{
    if (line.replyTo == 0)
        return false;
    if (line.code == Command::Login)
        return line.payload.json["result"] != LoginResult::Success;
    if (line.payload.form == SPayload::Form::Json)
        return !Contract::RefusalOf(line.payload.json["errorMsg"].toString()).isEmpty();
    const bool isAnswer = line.channel == TrafficChannel::CentralControl && line.payload.form == SPayload::Form::Text;
    return isAnswer && !Contract::RefusalOf(QString::fromUtf8(line.payload.bytes)).isEmpty();
}

/// Returns the value that the share of the sorted values doesn't exceed; between two values, if the share ends there,
/// their mean.
double Percentile(const std::vector<double>& sorted, int percent)
{
    const std::size_t hundredths = sorted.size() * static_cast<std::size_t>(percent);
    const std::size_t index = hundredths / 100;
    return hundredths % 100 == 0 ? (sorted[index - 1] + sorted[std::min(index, sorted.size() - 1)]) / 2 : sorted[index];
}

QString Milliseconds(double value)
{
    return QString::number(value, 'f', 2);
}

void PrintRow(const QString& name, const QStringList& cells)
{
    QString line = name.leftJustified(52);
    for (const QString& cell : cells)
        line += cell.rightJustified(10);
    Output::PrintLine(line);
}

void PrintTable(const QString& title, const std::map<QString, STotals>& rows)
{
    PrintRow(title, {"remote", "host", "errors", "median", "99 %", "maximum"});
    for (const auto& [name, totals] : rows) {
        QStringList cells{QString::number(totals.fromRemote), QString::number(totals.fromHost),
                          QString::number(totals.errors)};
        std::vector<double> sorted = totals.latencies;
        std::sort(sorted.begin(), sorted.end());
        if (!sorted.empty())
            cells << Milliseconds(Percentile(sorted, 50)) << Milliseconds(Percentile(sorted, 99))
                  << Milliseconds(sorted.back());
        PrintRow(PayloadText(name.toUtf8()), cells);
    }
}

} // namespace

void PrintSummary(const SRecording& recording)
{
    std::map<QString, STotals> names;
    std::map<QString, STotals> connections;
    std::map<std::uint64_t, const SRecordedLine*> requests;
    std::set<std::uint64_t> answered;
    int notes = 0;
    for (const SRecordedLine& line : recording.lines) {
        notes += line.kind == STrafficRecord::Kind::Note ? 1 : 0;
        if (line.kind != STrafficRecord::Kind::Message)
            continue;
        const bool isFromRemote = line.from == STrafficRecord::From::Remote;
        if (isFromRemote)
            requests[line.number] = &line;
        // A request can have several replies; the first one counts.
        const auto request = requests.find(line.replyTo);
        const bool isFirst = request != requests.end() && answered.insert(line.replyTo).second;
        const QString channel = NameOf(line.channel);
        const QString name = line.name.isEmpty() ? QStringLiteral("-") : line.name;
        const QString number = line.connection == 0 ? QString() : QStringLiteral(" %1").arg(line.connection);
        for (STotals* totals : {&names[channel + ", " + name], &connections[channel + number + ", " + line.peer]}) {
            ++(isFromRemote ? totals->fromRemote : totals->fromHost);
            totals->errors += IsRefusal(line) ? 1 : 0;
            if (isFirst)
                totals->latencies.push_back(
                    std::chrono::duration<double, std::milli>(line.time - request->second->time).count());
        }
    }
    Output::PrintLine(QStringLiteral("%1, contract %2, %3 records, %4 notes")
                          .arg(PayloadText(recording.program.toUtf8()), PayloadText(recording.contract.toUtf8()))
                          .arg(recording.lines.size())
                          .arg(notes));
    Output::PrintLine("Messages of remotes and of the host, refused requests, time to the first reply in ms:");
    PrintTable("channel, name", names);
    PrintTable("channel, connection, peer", connections);
}
