#pragma once

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

// Lets the compiler check the arguments of a function like printf: the positions of the text and of the first argument,
// counted from 1. In a member function, `this` is the first.
#if defined(__GNUC__)
#define CLT_LOG_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define CLT_LOG_PRINTF(text, first)
#endif

/// The library that writes the host's log of operations.
namespace CltLog {

enum ELevel : int {
    Trace = 0,
    Debug = 1,
    Info = 2,
    Warn = 3,
    Error = 4,
    Operation = 5,
};

class CLogger;

/// One line of the log.
class CLogEvent {
public:
    CLogEvent(std::shared_ptr<CLogger> logger, int level, int kind, const char* file, std::int32_t line,
              std::uint32_t threadId, std::time_t time, std::string module, std::string function);
    CLogEvent(const CLogEvent&) = delete;
    CLogEvent& operator=(const CLogEvent&) = delete;
    ~CLogEvent();

    /// Appends to the text, formatted as by printf.
    CLT_LOG_PRINTF(2, 3) void Format(const char* format, ...);

    const std::shared_ptr<CLogger>& GetLogger() const { return m_logger; }
    int GetLevel() const { return m_level; }
    int GetKind() const { return m_kind; }
    /// The position in the source code that logged the event; may be null.
    const char* GetFile() const { return m_file; }
    std::int32_t GetLine() const { return m_line; }
    std::uint32_t GetThreadId() const { return m_threadId; }
    std::time_t GetTime() const { return m_time; }
    const std::string& GetModule() const { return m_module; }
    const std::string& GetFunction() const { return m_function; }
    const std::string& GetText() const { return m_text; }

private:
    std::shared_ptr<CLogger> m_logger;
    int m_level;
    int m_kind;
    const char* m_file;
    std::int32_t m_line;
    std::uint32_t m_threadId;
    std::time_t m_time;
    std::string m_module;
    std::string m_function;
    std::string m_text;
};

/// Passes its event to the event's logger when it is destroyed.
class CLogEventWrap {
public:
    explicit CLogEventWrap(std::shared_ptr<CLogEvent> event);
    ~CLogEventWrap();
    CLogEventWrap(const CLogEventWrap&) = delete;
    CLogEventWrap& operator=(const CLogEventWrap&) = delete;

    CLogEvent& GetEvent() { return *m_event; }

private:
    std::shared_ptr<CLogEvent> m_event;
};

class CLogger {
public:
    virtual ~CLogger() = default;

    /// Events of a lower level are not written.
    virtual int GetLevel() = 0;
    virtual void SetPattern(const std::string& pattern) = 0;
    virtual void Log(const CLogEvent& event) = 0;
};

/// The host's operation log, or null if it has none.
std::shared_ptr<CLogger> GetOperationLogger();

} // namespace CltLog
