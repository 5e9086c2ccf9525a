#pragma once

#include <QCommandLineParser>

#include <chrono>
#include <cstdint>
#include <limits>

/// The environment variable with the app user's password.
constexpr char kPasswordVariable[] = "SHOWREMOTE_PASSWORD";

/// Reads the arguments of one command. What makes no sense is thrown as CWrongUsage.
class CCommandLine {
public:
    /// usage: what follows the options in the usage line, such as "REQUEST [JSON]".
    CCommandLine(QString usage, const QString& description);

    void AddOption(const QCommandLineOption& option) { m_parser.addOption(option); }
    void AddHostOption();
    void AddTimeoutOption(const QString& seconds = "5");
    /// Where to wait for those who come, and for whom that is.
    void AddListenAddressOptions(const QString& whom, int defaultPort);

    /// arguments: the command's name first. False when only the help was wanted, which has been printed then.
    bool Parse(const QStringList& arguments);

    bool IsSet(const QString& option) const { return m_parser.isSet(option); }
    QString Value(const QString& option) const { return m_parser.value(option); }
    /// The positional arguments, at least and at most that many of them.
    QStringList Positional(int least, int most) const;

    QString Host() const;
    /// An IP address.
    QString ListenAddress() const;
    std::uint16_t ListenPort() const { return static_cast<std::uint16_t>(Number("port", 1, 65535)); }
    std::chrono::milliseconds Timeout() const { return Seconds("timeout"); }
    std::chrono::milliseconds Seconds(const QString& option) const;
    /// A whole number.
    int Number(const QString& option, int least, int most = std::numeric_limits<int>::max()) const;
    /// Throws CWrongUsage with the reason if one of the options is given.
    void Refuse(const QStringList& options, const QString& why) const;

private:
    QCommandLineParser m_parser;
    QString m_usage;
};

/// Whether an argument is meant as a JSON object; a keyword or the name of a request never is.
bool IsObject(const QString& argument);

/// The UTF-8 of an argument that must be a JSON object. Throws CWrongUsage, which names the position of an error.
QByteArray CheckedObject(const QString& argument);

/// "2.5 s", as messages show a timeout.
QString TextOf(std::chrono::milliseconds duration);
