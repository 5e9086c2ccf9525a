#include "ShowRemote/Console/CommandLine.h"

#include "ExternalController/Common/JsonReader.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"

#include <QHostAddress>

#include <algorithm>
#include <utility>

namespace {

constexpr double kMostSeconds = 24 * 60 * 60;

} // namespace

CCommandLine::CCommandLine(QString usage, const QString& description) : m_usage(std::move(usage))
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption({{"h", "help"}, "Show this help."});
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

bool CCommandLine::Parse(const QStringList& arguments)
{
    const bool sound = m_parser.parse(arguments);
    if (m_parser.isSet("help")) {
        // Qt's usage line doesn't contain the command.
        const QString help = m_parser.helpText();
        Terminal::PrintLine(
            QStringLiteral("Usage: showremote %1 [options] %2").arg(arguments.first(), m_usage).trimmed());
        Terminal::PrintLine(help.mid(help.indexOf('\n') + 1).trimmed());
        return false;
    }
    if (!sound) {
        QString error = m_parser.errorText();
        if (error.endsWith('.'))
            error.chop(1);
        throw CWrongUsage(error);
    }
    return true;
}

QStringList CCommandLine::Positional(int least, int most) const
{
    QStringList positional = m_parser.positionalArguments();
    if (positional.size() < least)
        throw CWrongUsage(QStringLiteral("%1 is missing").arg(m_usage.split(' ').value(positional.size())));
    if (positional.size() > most)
        throw CWrongUsage(QStringLiteral("unexpected argument \"%1\"").arg(positional[most]));
    return positional;
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
    if (!isNumber || !(seconds >= 0.001 && seconds <= kMostSeconds))
        throw CWrongUsage(QStringLiteral("--%1: expected a number of seconds from 0.001 to %2, got \"%3\"")
                              .arg(option)
                              .arg(kMostSeconds)
                              .arg(m_parser.value(option)));
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

QString CCommandLine::ListenAddress() const
{
    QString address = m_parser.value("listen");
    if (QHostAddress(address).isNull())
        throw CWrongUsage(QStringLiteral("--listen: expected an IP address, got \"%1\"").arg(address));
    return address;
}

int CCommandLine::Number(const QString& option, int least, int most) const
{
    bool isNumber = false;
    const int number = m_parser.value(option).toInt(&isNumber);
    if (!isNumber || number < least || number > most)
        throw CWrongUsage(QStringLiteral("--%1: expected a number from %2 to %3, got \"%4\"")
                              .arg(option)
                              .arg(least)
                              .arg(most)
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

QString TextOf(std::chrono::milliseconds duration)
{
    return QStringLiteral("%1 s").arg(static_cast<double>(duration.count()) / 1000);
}
