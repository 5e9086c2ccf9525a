#include "ExternalController/MsgSender/CloudReplies.h"

#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/MsgSenderBase.h"

#include <QCoreApplication>
#include <QObject>

#include <array>
#include <initializer_list>

namespace {

constexpr bool kNotTranslated = true;

struct STypeName {
    const char* name;
    bool isNotTranslated = false;
};

/// The index is the ResourceType.
constexpr STypeName kTypeNames[] = {
    {QT_TRANSLATE_NOOP("QObject", "Video")},
    {QT_TRANSLATE_NOOP("QObject", "Audio")},
    {QT_TRANSLATE_NOOP("QObject", "Picture")},
    {QT_TRANSLATE_NOOP("QObject", "Folder")},
    {QT_TRANSLATE_NOOP("QObject", "Compound")},
    {QT_TRANSLATE_NOOP("QObject", "WebPage")},
    {QT_TRANSLATE_NOOP("QObject", "Capture Card")},
    {QT_TRANSLATE_NOOP("QObject", "Capture Card")},
    {"PPT", kNotTranslated},
    {QT_TRANSLATE_NOOP("QObject", "Stream_Stream Media")},
    {QT_TRANSLATE_NOOP("QObject", "Text")},
    {"NDI", kNotTranslated},
    {QT_TRANSLATE_NOOP("QObject", "TestChart")},
    {QT_TRANSLATE_NOOP("QObject", "Weather")},
    {QT_TRANSLATE_NOOP("QObject", "Timer")},
    {QT_TRANSLATE_NOOP("QObject", "Excel")},
    {QT_TRANSLATE_NOOP("QObject", "DesktopCopy")},
    {QT_TRANSLATE_NOOP("QObject", "Clock")},
    {QT_TRANSLATE_NOOP("QObject", "Calendar")},
    {QT_TRANSLATE_NOOP("QObject", "Table")},
    {QT_TRANSLATE_NOOP("QObject", "DataBase")},
    {QT_TRANSLATE_NOOP("QObject", "RT_Add EnvironmentInfo")},
    {QT_TRANSLATE_NOOP("QObject", "Subtitle")},
    {QT_TRANSLATE_NOOP("QObject", "Pdf")},
    {QT_TRANSLATE_NOOP("QObject", "Word")},
    {QT_TRANSLATE_NOOP("QObject", "Lottery")},
    {QT_TRANSLATE_NOOP("QObject", "Teleprompter")},
    {QT_TRANSLATE_NOOP("QObject", "Compound")},
};

/// More than the length of a usual line, for reserving memory.
constexpr std::size_t kUsualLineBytes = 160;

void Add(std::string& text, const QString& field, char separator)
{
    const QByteArray bytes = field.toUtf8();
    text.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    text += separator;
}

std::string HeaderLine(std::initializer_list<const char*> labels)
{
    std::string line;
    for (const char* label : labels)
        Add(line, QObject::tr(label), ',');
    line.back() = '\n';
    return line;
}

/// Translates the names once per table instead of once per line.
std::array<QString, std::size(kTypeNames)> TypeNames()
{
    std::array<QString, std::size(kTypeNames)> names;
    for (std::size_t type = 0; type < names.size(); ++type) {
        const STypeName& entry = kTypeNames[type];
        names[type] = entry.isNotTranslated ? QString::fromLatin1(entry.name) : QObject::tr(entry.name);
    }
    return names;
}

std::map<int, QString> SourceNames()
{
    std::map<int, QString> names;
    for (const auto& [source, name] : ControlSourceNameMap)
        names[source] = source == ControlSource::CloudControl ? TrCloudControl() : QObject::tr(name.c_str());
    return names;
}

} // namespace

std::string PlayLogTable(const QList<SPlayRecord>& records)
{
    const auto typeNames = TypeNames();
    std::string text = HeaderLine({"LogUI_Serial Number", "LogUI_File Name", "LogUI_File Type", "LogUI_File Duration",
                                   "LogUI_Start Time", "LogUI_End Time", "LogUI_Play Duration"});
    text.reserve(text.size() + static_cast<std::size_t>(records.size()) * kUsualLineBytes);
    int number = 0;
    for (const SPlayRecord& record : records) {
        const bool isKnown = record.fileType >= 0 && record.fileType < static_cast<int>(typeNames.size());
        text.append(std::to_string(++number)).append(1, ',');
        Add(text, record.fileName, ',');
        Add(text, isKnown ? typeNames[static_cast<std::size_t>(record.fileType)] : QString(), ',');
        Add(text, record.fileDuration, ',');
        Add(text, record.startTime, ',');
        Add(text, record.endTime, ',');
        Add(text, record.playDuration, '\n');
    }
    return text;
}

std::string OperationLogTable(const QList<SOPRecord>& records)
{
    const auto sourceNames = SourceNames();
    std::string text =
        HeaderLine({"LogUI_Serial Number", "LogUI_Time", "LogUI_Module", "LogUI_Function", "LogUI_Describe"});
    text.reserve(text.size() + static_cast<std::size_t>(records.size()) * kUsualLineBytes);
    int number = 0;
    for (const SOPRecord& record : records) {
        text.append(std::to_string(++number)).append(1, ',');
        Add(text, record.time, ',');
        Add(text, record.module, ',');
        Add(text, record.function, ',');
        const auto source = sourceNames.find(record.source);
        if (source != sourceNames.end())
            Add(text, source->second, ',');
        Add(text, record.description, '\n');
    }
    return text;
}
