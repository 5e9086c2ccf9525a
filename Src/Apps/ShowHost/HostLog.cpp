#include "ShowHost/HostLog.h"

#include "Comm/PayloadText.h"
#include "ExternalController/Common/CommandNames.h"
#include "Platform/ServiceManager.h"

#include <QDateTime>
#include <QtGlobal>

#include <cstdio>

namespace {

CHostLog* s_log = nullptr;

/// Prefix of the module's debug line that contains a decrypted password. The rest of that line is not printed.
const QLatin1String kPasswordLine("decryptPassword");

/// Prefix of the logging categories of the host's libraries.
constexpr char kOwnCategories[] = "zentravox.";

/// Describes a message. Only commands of devices and of FTP are printed: other messages can contain passwords.
std::string MessageText(const STrafficRecord& record)
{
    std::string text = record.from == STrafficRecord::From::Remote ? " <- " : " -> ";
    if (record.code != 0)
        text += Command::TextOf(record.code) + ", ";
    else if (record.channel == TrafficChannel::CentralControl && record.from == STrafficRecord::From::Remote)
        text += "not a command, ";
    if (record.channel == TrafficChannel::Devices || record.channel == TrafficChannel::AppUpload)
        return text + TrafficText(std::string(record.payload));
    return text + std::to_string(record.wireBytes) + " bytes";
}

std::string TextOf(const STrafficRecord& record)
{
    std::string text = NameOf(record.channel);
    if (!record.peer.empty())
        text += ' ' + record.peer;
    switch (record.kind) {
    case STrafficRecord::Kind::Listening:
        return text + " listens on " + record.text;
    case STrafficRecord::Kind::Failed:
        return text + " can't start: " + record.text;
    case STrafficRecord::Kind::Opened:
        return text + " connected";
    case STrafficRecord::Kind::Closed:
        return text + " closed: " + record.text;
    case STrafficRecord::Kind::Message:
        return text + MessageText(record) + (record.text.empty() ? "" : ", " + record.text);
    case STrafficRecord::Kind::Note:
        break;
    }
    return text + ": " + record.text;
}

} // namespace

CHostLog::CHostLog() : m_isJournal(IsJournal(fileno(stdout))), m_output(fileno(stdout), m_isJournal ? "<4>" : "")
{
    s_log = this;
    qInstallMessageHandler(TakeQtMessage);
    SetQuiet(true);
}

void CHostLog::SetQuiet(bool quiet)
{
    m_quiet = quiet;
    m_traffic.emplace([this](const STrafficRecord& record) { Take(record); }, !quiet);
}

CHostLog::~CHostLog()
{
    m_traffic.reset();
    qInstallMessageHandler(nullptr);
    s_log = nullptr;
}

void CHostLog::TakeQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!s_log)
        return;
    if (type == QtWarningMsg && QByteArray(context.category).startsWith(kOwnCategories))
        s_log->WriteTimed(Warning, "host: " + text);
    else if (!s_log->m_quiet)
        s_log->WriteTimed(type == QtDebugMsg ? Debug : Warning,
                          "module: " +
                              (text.startsWith(kPasswordLine) ? kPasswordLine + QStringLiteral(" (not shown)") : text));
}

void CHostLog::Print(const QString& line)
{
    if (!m_quiet)
        WriteTimed(Info, line);
}

void CHostLog::PrintAnswer(const QString& line)
{
    Write(Notice, line);
}

void CHostLog::Write(Priority priority, const QString& line)
{
    const std::string prefix = m_isJournal ? '<' + std::to_string(priority) + '>' : std::string();
    m_output.Write(prefix + LineText(line).toStdString());
}

void CHostLog::WriteTimed(Priority priority, const QString& line)
{
    Write(priority, m_isJournal ? line : QDateTime::currentDateTime().toString("hh:mm:ss.zzz ") + line);
}

void CHostLog::Take(const STrafficRecord& record)
{
    {
        const std::lock_guard lock(m_mutex);
        if (record.kind == STrafficRecord::Kind::Listening)
            m_listening.push_back(NameOf(record.channel) + (' ' + record.text));
        else if (record.kind == STrafficRecord::Kind::Failed)
            m_failures.push_back(TextOf(record));
    }
    if (!m_quiet)
        WriteTimed(record.kind == STrafficRecord::Kind::Failed ? Error : Info, QString::fromStdString(TextOf(record)));
}

std::vector<std::string> CHostLog::Listening() const
{
    const std::lock_guard lock(m_mutex);
    return m_listening;
}

std::vector<std::string> CHostLog::Failures() const
{
    const std::lock_guard lock(m_mutex);
    return m_failures;
}
