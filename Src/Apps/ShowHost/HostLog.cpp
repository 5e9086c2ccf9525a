#include "ShowHost/HostLog.h"

#include "Comm/PayloadText.h"

#include <QDateTime>
#include <QtGlobal>

#include <cstdio>

namespace {

CHostLog* s_log = nullptr;

/// Prefix of the module's debug line that contains a decrypted password. The rest of that line is not printed.
const QLatin1String kPasswordLine("decryptPassword");

/// Prefix of the logging categories of the host's libraries.
constexpr char kOwnCategories[] = "zentravox.";

QString Timed(const QString& line)
{
    return QDateTime::currentDateTime().toString("hh:mm:ss.zzz ") + line;
}

std::string TextOf(const SChannelEvent& event)
{
    std::string text = event.channel;
    if (!event.peer.empty())
        text += ' ' + event.peer;
    switch (event.kind) {
    case SChannelEvent::Kind::Listening:
        return text + " listens on " + event.text;
    case SChannelEvent::Kind::Failed:
        return text + " can't start: " + event.text;
    case SChannelEvent::Kind::Connected:
        return text + " connected";
    case SChannelEvent::Kind::Closed:
        return text + " closed: " + event.text;
    case SChannelEvent::Kind::Received:
        return text + " <- " + event.text;
    case SChannelEvent::Kind::Sent:
        return text + " -> " + event.text;
    case SChannelEvent::Kind::Note:
        break;
    }
    return text + ": " + event.text;
}

} // namespace

CHostLog::CHostLog() : m_output(fileno(stdout))
{
    s_log = this;
    qInstallMessageHandler(TakeQtMessage);
    SetQuiet(true);
}

void CHostLog::SetQuiet(bool quiet)
{
    m_quiet = quiet;
    CChannelEvents::GetInstance().SetSink([this](const SChannelEvent& event) { Take(event); }, !quiet);
}

CHostLog::~CHostLog()
{
    CChannelEvents::GetInstance().SetSink({}, false);
    qInstallMessageHandler(nullptr);
    s_log = nullptr;
}

void CHostLog::TakeQtMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!s_log)
        return;
    if (type == QtWarningMsg && QByteArray(context.category).startsWith(kOwnCategories))
        s_log->PrintAnswer(Timed("host: " + text));
    else
        s_log->Print("module: " +
                     (text.startsWith(kPasswordLine) ? kPasswordLine + QStringLiteral(" (not shown)") : text));
}

void CHostLog::Print(const QString& line)
{
    if (!m_quiet)
        PrintAnswer(Timed(line));
}

void CHostLog::PrintAnswer(const QString& line)
{
    m_output.Write(LineText(line).toStdString());
}

void CHostLog::Take(const SChannelEvent& event)
{
    {
        const std::lock_guard lock(m_mutex);
        if (event.kind == SChannelEvent::Kind::Listening)
            m_listening.push_back(event.channel + ' ' + event.text);
        else if (event.kind == SChannelEvent::Kind::Failed)
            m_failures.push_back(TextOf(event));
    }
    Print(QString::fromStdString(TextOf(event)));
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
