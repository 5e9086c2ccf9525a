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
    /// None of the options may be given; why is told behind the one that is.
    void Refuse(const QStringList& options, const QString& why) const;

private:
    QCommandLineParser m_parser;
    QString m_usage;
};

/// The UTF-8 of an argument that is to be a JSON object. Throws CWrongUsage, which tells the place.
QByteArray CheckedObject(const QString& argument);

/// "2.5 s", as the timeout is told to people.
QString TextOf(std::chrono::milliseconds duration);
