#include "Log/OperationLog.h"

#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/CltLog.h"
#include "Platform/LocalTime.h"

#include <QDateTime>

#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <utility>
#include <vector>

namespace {

constexpr char kLoggerName[] = "operation";
constexpr char kDateMark = 'd';

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
        return event.GetModule();
    case 'b':
        return event.GetFunction();
    case 'v':
        return event.GetText();
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
        m_file = std::ofstream();
        if (file.empty())
            return true;
        m_file.open(file, std::ios::app);
        return m_file.is_open();
    }

    bool IsOpen()
    {
        const std::lock_guard lock(m_mutex);
        return m_file.is_open();
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
        m_file << Line(event) << std::flush;
    }

private:
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
    std::ofstream m_file;
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
