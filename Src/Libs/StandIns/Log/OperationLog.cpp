#include "Log/OperationLog.h"

#include "Comm/PayloadText.h"
#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/CltLog.h"
#include "Log/WriteFailures.h"
#include "Platform/LocalTime.h"

#include <QDateTime>
#include <QFile>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

namespace {

constexpr char kLoggerName[] = "operation";
constexpr char kDateMark = 'd';
constexpr int kMaxWaitingBytes = 1024 * 1024;

std::string TimeText(std::time_t time, const std::string& format)
{
    std::vector<char> text(64 + format.size());
    const std::tm parts = LocalTime(time);
    text.resize(std::strftime(text.data(), text.size(), format.c_str(), &parts));
    return {text.begin(), text.end()};
}

std::string FieldText(char mark, const CltLog::CLogEvent& event)
{
    switch (mark) {
    case 'c':
        return kLoggerName;
    case 'p': {
        const auto name = LogLevelNameMap.find(event.GetLevel());
        return name == LogLevelNameMap.end() ? std::string() : name->second;
    }
    case 't':
        return std::to_string(event.GetThreadId());
    case 'a':
        return LineText(event.GetModule());
    case 'b':
        return LineText(event.GetFunction());
    case 'v':
        return LineText(event.GetText());
    case 'T':
        return "\t";
    case 'n':
        return "\n";
    default:
        return {};
    }
}

class COperationLogger : public CltLog::CLogger {
public:
    bool Open(const std::string& file)
    {
        const std::lock_guard lock(m_mutex);
        WriteWaiting();
        m_file.close();
        m_waiting.clear();
        m_file.setFileName(QString::fromStdString(file));
        return file.empty() || m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered);
    }

    bool IsOpen()
    {
        const std::lock_guard lock(m_mutex);
        return m_file.isOpen();
    }

    int GetLevel() override { return CltLog::Trace; }

    void SetPattern(const std::string& pattern) override
    {
        const std::lock_guard lock(m_mutex);
        m_pattern = pattern;
    }

    void Log(const CltLog::CLogEvent& event) override
    {
        const std::lock_guard lock(m_mutex);
        const QByteArray line = QByteArray::fromStdString(Line(event));
        if (m_waiting.size() + line.size() <= kMaxWaitingBytes)
            m_waiting += line;
        WriteWaiting();
    }

private:
    /// Writes the waiting lines. A write may be partial; the rest waits for the next call.
    void WriteWaiting()
    {
        if (!m_file.isOpen() || m_waiting.isEmpty())
            return;
        qint64 written = 0;
        while (!m_waiting.isEmpty() && (written = m_file.write(m_waiting)) > 0)
            m_waiting.remove(0, static_cast<int>(written));
        if (m_waiting.isEmpty())
            WriteFailures::Succeeded(m_file.fileName());
        else
            WriteFailures::Failed(m_file.fileName(), m_file.errorString());
    }

    std::string Line(const CltLog::CLogEvent& event) const
    {
        std::string line;
        for (std::size_t at = 0; at < m_pattern.size(); ++at) {
            if (m_pattern[at] != '%' || at + 1 == m_pattern.size()) {
                line += m_pattern[at];
                continue;
            }
            const char mark = m_pattern[++at];
            const std::size_t close = m_pattern.find('}', at);
            if (mark == kDateMark && m_pattern.compare(at + 1, 1, "{") == 0 && close != std::string::npos) {
                line += TimeText(event.GetTime(), m_pattern.substr(at + 2, close - at - 2));
                at = close;
            } else {
                line += FieldText(mark, event);
            }
        }
        return line;
    }

    std::mutex m_mutex;
    QFile m_file;
    QByteArray m_waiting;
    std::string m_pattern = kLogPattern;
};

const std::shared_ptr<COperationLogger>& Logger()
{
    static const auto logger = std::make_shared<COperationLogger>();
    return logger;
}

} // namespace

bool OperationLog::Open(const std::string& file)
{
    return Logger()->Open(file);
}

std::shared_ptr<CltLog::CLogger> CltLog::GetOperationLogger()
{
    return Logger()->IsOpen() ? Logger() : nullptr;
}

CltLog::CLogEvent::CLogEvent(std::shared_ptr<CLogger> logger, int level, int kind, const char* file, std::int32_t line,
                             std::uint32_t threadId, std::time_t time, std::string module, std::string function)
    : m_logger(std::move(logger))
    , m_level(level)
    , m_kind(kind)
    , m_file(file)
    , m_line(line)
    , m_threadId(threadId)
    , m_time(time)
    , m_module(std::move(module))
    , m_function(std::move(function))
{}

CltLog::CLogEvent::~CLogEvent() = default;

void CltLog::CLogEvent::Format(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length > 0) {
        std::vector<char> text(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        m_text.append(text.data());
    }
    va_end(again);
}

CltLog::CLogEventWrap::CLogEventWrap(std::shared_ptr<CLogEvent> event) : m_event(std::move(event)) {}

CltLog::CLogEventWrap::~CLogEventWrap()
{
    m_event->GetLogger()->Log(*m_event);
}
