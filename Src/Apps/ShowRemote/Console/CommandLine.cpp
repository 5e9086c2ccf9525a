#include "ShowRemote/Console/CommandLine.h"

#include "ExternalController/Common/JsonReader.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <QHostAddress>

#include <algorithm>
#include <utility>

namespace {

constexpr double kMaxSeconds = 24 * 60 * 60;
constexpr char kListen[] = "listen";

/// Returns the UTF-8 text of an argument that must be a JSON object. Throws CWrongUsage with the position of the error
/// if it isn't one.
QByteArray CheckedObject(const QString& text)
{
    QByteArray body = text.toUtf8();
    SJsonError error;
    const QJsonDocument json = ReadJson(body, &error);
    if (json.isNull()) {
        const int character = std::max(1, QString::fromUtf8(body.left(error.offset)).size());
        throw CWrongUsage(QStringLiteral("JSON: error near character %1: %2").arg(character).arg(error.reason));
    }
    if (!json.isObject())
        throw CWrongUsage("JSON: expected an object, {...}");
    return body;
}

} // namespace

CCommandLine::CCommandLine(const QString& description)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption({{"h", "help"}, "Show this help."});
}

void CCommandLine::AddArgument(const QString& name, const QString& help)
{
    m_parser.addPositionalArgument(QString(name).remove('[').remove(']'), help);
    m_arguments.append(name);
}

void CCommandLine::AddRequestOrListen(const QString& name, const QString& help)
{
    AddArgument(name, QStringLiteral("%1 With %2, show all messages of the host until Ctrl-C.").arg(help, kListen));
    AddDurationOption("Stop listening after S seconds.");
}

void CCommandLine::AddHostOption()
{
    AddOption({"host", "Use the host at ADDRESS (default 127.0.0.1).", "ADDRESS", "127.0.0.1"});
}

void CCommandLine::AddTimeoutOption(const QString& seconds)
{
    AddOption({"timeout",
               QStringLiteral("Wait at most SECONDS for each connection and each answer (default %1).").arg(seconds),
               "SECONDS", seconds});
}

void CCommandLine::AddListenAddressOptions(const QString& whom, int defaultPort)
{
    AddOption(
        {"listen", QStringLiteral("Listen on ADDRESS for %1 (default 127.0.0.1).").arg(whom), "ADDRESS", "127.0.0.1"});
    AddOption({"port", QStringLiteral("Listen on PORT (default %1).").arg(defaultPort), "PORT",
               QString::number(defaultPort)});
}

void CCommandLine::AddListOption(const QString& help, std::vector<std::pair<QString, int>> entries)
{
    AddOption({"list", help});
    m_list = std::move(entries);
}

void CCommandLine::AddDurationOption(const QString& help)
{
    AddOption({"seconds", help, "S"});
}

bool CCommandLine::Parse(const QStringList& arguments)
{
    const bool isValid = m_parser.parse(arguments);
    if (m_parser.isSet("help")) {
        // Qt's usage line doesn't contain the command.
        const QString help = m_parser.helpText();
        Output::PrintLine(QStringLiteral("Usage: showremote %1 [options] %2")
                              .arg(arguments.first(), m_arguments.join(' '))
                              .trimmed());
        Output::PrintLine(help.mid(help.indexOf('\n') + 1).trimmed());
        return false;
    }
    if (!isValid) {
        QString error = m_parser.errorText();
        if (error.endsWith('.'))
            error.chop(1);
        throw CWrongUsage(error);
    }
    if (m_list.empty() || !IsSet("list"))
        return true;
    Positional(0, 0);
    for (const auto& [name, code] : m_list)
        Output::PrintLine(QStringLiteral("0x%1  %2").arg(code, 3, 16, QLatin1Char('0')).arg(name));
    return false;
}

QStringList CCommandLine::Positional(int minimum, int maximum) const
{
    QStringList positional = m_parser.positionalArguments();
    if (positional.size() < minimum)
        throw CWrongUsage(QStringLiteral("%1 is missing").arg(m_arguments.value(positional.size())));
    if (positional.size() > maximum)
        throw CWrongUsage(QStringLiteral("unexpected argument \"%1\"").arg(positional[maximum]));
    return positional;
}

QByteArray CCommandLine::Json() const
{
    const QStringList positional = Positional(1, IsObject(Request()) ? 1 : 2);
    return positional.size() > 1 || IsObject(positional.first()) ? CheckedObject(positional.last()) : QByteArray();
}

bool CCommandLine::IsListen() const
{
    const bool isListen = Request() == kListen;
    if (isListen)
        Positional(1, 1);
    else
        Refuse({"seconds"}, kOnlyWithListen);
    return isListen;
}

QString CCommandLine::Host() const
{
    QString host = m_parser.value("host");
    if (host.isEmpty())
        throw CWrongUsage("--host: expected an address, got \"\"");
    return host;
}

std::chrono::milliseconds CCommandLine::Seconds(const QString& option) const
{
    bool isNumber = false;
    const double seconds = m_parser.value(option).toDouble(&isNumber);
    if (!isNumber || !(seconds >= 0.001 && seconds <= kMaxSeconds))
        throw CWrongUsage(QStringLiteral("--%1: expected a number of seconds from 0.001 to %2, got \"%3\"")
                              .arg(option)
                              .arg(kMaxSeconds)
                              .arg(m_parser.value(option)));
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

std::optional<std::chrono::milliseconds> CCommandLine::Duration() const
{
    return IsSet("seconds") ? std::optional(Seconds("seconds")) : std::nullopt;
}

QString CCommandLine::ListenAddress() const
{
    QString address = m_parser.value("listen");
    if (QHostAddress(address).isNull())
        throw CWrongUsage(QStringLiteral("--listen: expected an IP address, got \"%1\"").arg(address));
    return address;
}

int CCommandLine::Number(const QString& option, int minimum, int maximum) const
{
    bool isNumber = false;
    const int number = m_parser.value(option).toInt(&isNumber);
    if (!isNumber || number < minimum || number > maximum)
        throw CWrongUsage(QStringLiteral("--%1: expected a number from %2 to %3, got \"%4\"")
                              .arg(option)
                              .arg(minimum)
                              .arg(maximum)
                              .arg(m_parser.value(option)));
    return number;
}

void CCommandLine::Refuse(const QStringList& options, const QString& why) const
{
    for (const QString& option : options) {
        if (m_parser.isSet(option))
            throw CWrongUsage(QStringLiteral("--%1 %2").arg(option, why));
    }
}

bool IsObject(const QString& argument)
{
    return argument.trimmed().startsWith('{');
}

QString TextOf(std::chrono::milliseconds duration)
{
    return QStringLiteral("%1 s").arg(static_cast<double>(duration.count()) / 1000);
}
