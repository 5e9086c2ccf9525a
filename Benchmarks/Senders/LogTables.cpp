#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Vocabulary.h"
#include "HostModels/HostModels.h"
#include "Senders/Case.h"

#include <array>
#include <memory>
#include <utility>

namespace {

constexpr double kAim = 1.5;
constexpr int kRecordsOfTable = 50'000;
constexpr std::array kTypeNames = {"Video", "Audio", "Picture"};
constexpr int kTypes = static_cast<int>(kTypeNames.size());

struct SRecords {
    QList<SPlayRecord> played;
    QList<SOPRecord> done;
};

SRecords MakeRecords()
{
    const QDateTime first = QDateTime::currentDateTime().addSecs(-2LL * kRecordsOfTable);
    SRecords records;
    for (int i = 0; i < kRecordsOfTable; ++i) {
        const QString start = first.addSecs(i).toString(kLogTimeFormat);
        records.played.append({i % kTypes, "0:04:12", start, first.addSecs(i + 252).toString(kLogTimeFormat), "0:04:12",
                               QStringLiteral("Fanfare %1.mp4").arg(i)});
        records.done.append({start, "Scene", QStringLiteral("scene-play (0x306)"), QStringLiteral("SUCCESS"),
                             i % static_cast<int>(ControlSourceNameMap.size())});
    }
    return records;
}

/// Loads the records into the log model; they are not queried again.
void Load(const SRecords& records)
{
    CShowLog& log = HostModels::ShowLog();
    log.Open(":memory:");
    for (const SPlayRecord& record : records.played)
        log.Add(record);
    for (const SOPRecord& record : records.done)
        log.Add(record);
    const QDateTime now = QDateTime::currentDateTime();
    log.QueryPlayLog(now.addDays(-7), now, {}, false);
    log.QueryOPLog(now.addDays(-7), now, false);
}

template <class... Fields>
void Join(QByteArray& text, int number, const Fields&... fields)
{
    text += QByteArray::number(number);
    ((text += ',', text += fields.toUtf8()), ...);
    text += '\n';
}

QByteArray ByHand(const SRecords& records)
{
    static const std::array<QString, kTypeNames.size()> typeNames = {kTypeNames[0], kTypeNames[1], kTypeNames[2]};
    static const std::vector<QString> sourceNames = [] {
        std::vector<QString> names;
        names.reserve(ControlSourceNameMap.size());
        for (const auto& [source, name] : ControlSourceNameMap)
            names.push_back(QString::fromStdString(name));
        return names;
    }();
    constexpr int kMaxBytesOfLine = 120;
    QByteArray text;
    text.reserve(2 * kRecordsOfTable * kMaxBytesOfLine);
    text += "LogUI_Serial Number,LogUI_File Name,LogUI_File Type,LogUI_File Duration,LogUI_Start Time,LogUI_End Time,"
            "LogUI_Play Duration\n";
    int number = 0;
    for (const SPlayRecord& record : records.played)
        Join(text, ++number, record.fileName, typeNames[static_cast<std::size_t>(record.fileType)], record.fileDuration,
             record.startTime, record.endTime, record.playDuration);
    text += "LogUI_Serial Number,LogUI_Time,LogUI_Module,LogUI_Function,LogUI_Describe\n";
    number = 0;
    for (const SOPRecord& record : records.done)
        Join(text, ++number, record.time, record.module, record.function,
             sourceNames[static_cast<std::size_t>(record.source)], record.description);
    return text;
}

} // namespace

std::vector<SCase> Cases::LogTables()
{
    const auto records = std::make_shared<const SRecords>(MakeRecords());
    const auto isLoaded = std::make_shared<bool>(false);
    return {{"log-tables/" + std::to_string(2 * kRecordsOfTable), 2 * kRecordsOfTable, kAim,
             [=] {
                 if (!std::exchange(*isLoaded, true))
                     Load(*records);
             },
             [] { Ask(Command::Logs, "{}", Source::CloudControl); }, [records] { return ByHand(*records); },
             [](const std::vector<QByteArray>& sent, const QByteArray& text) {
                 return sent.size() == 2 && sent[0] + sent[1] == text;
             }}};
}
