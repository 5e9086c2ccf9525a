#pragma once

#include <QCommandLineParser>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

/// The environment variable that contains the app user's password.
constexpr char kPasswordVariable[] = "SHOWREMOTE_PASSWORD";
constexpr char kOnlyWithListen[] = "can only be used with listen";

/// Parses the arguments of one command. The functions that read arguments throw CWrongUsage if these are not valid.
class CCommandLine {
public:
    /// \param description what the command does, for the help text
    explicit CCommandLine(const QString& description);

    /// Adds a positional argument to the help text. \param name in brackets if the argument is optional
    void AddArgument(const QString& name, const QString& help);
    /// Adds an argument that is a request or the word listen, and --seconds for the latter.
    void AddRequestOrListen(const QString& name, const QString& help);

    void AddOption(const QCommandLineOption& option) { m_parser.addOption(option); }
    /// Adds --host.
    void AddHostOption();
    /// Adds --timeout. \param seconds the default
    void AddTimeoutOption(const QString& seconds = "5");
    /// Adds --listen and --port. \param whom whose connections or datagrams the command waits for, for the help text
    void AddListenAddressOptions(const QString& whom, int defaultPort);

    /// Adds --list. \param entries the names and codes that it prints
    void AddListOption(const QString& help, std::vector<std::pair<QString, int>> entries);
    /// Adds --seconds, a duration.
    void AddDurationOption(const QString& help);

    /// Parses the command line. If it contains --help or --list, prints the help or the list and returns false.
    /// \param arguments the command's name and the arguments after it
    bool Parse(const QStringList& arguments);

    bool IsSet(const QString& option) const { return m_parser.isSet(option); }
    QString Value(const QString& option) const { return m_parser.value(option); }
    QStringList Values(const QString& option) const { return m_parser.values(option); }
    /// Returns the positional arguments. Throws CWrongUsage if there are fewer than minimum or more than maximum.
    QStringList Positional(int minimum, int maximum) const;

    /// Returns the first positional argument.
    QString Request() const { return Positional(1, 2).first(); }
    /// Returns the UTF-8 text of the JSON object that follows the request, or of the request if it is an object itself.
    /// Empty if there is no object.
    QByteArray Json() const;
    /// Returns whether the request is the word listen. Throws CWrongUsage if JSON follows it, or if --seconds is given
    /// with another request.
    bool IsListen() const;

    /// Returns the value of --host, an address or a host name.
    QString Host() const;
    /// Returns the value of --listen, an IP address.
    QString ListenAddress() const;
    /// Returns the value of --port, from 1 to 65535.
    std::uint16_t ListenPort() const { return static_cast<std::uint16_t>(Number("port", 1, 65535)); }
    /// Returns the value of --timeout.
    std::chrono::milliseconds Timeout() const { return Seconds("timeout"); }
    /// Returns the value of --seconds, or no value if it isn't given.
    std::optional<std::chrono::milliseconds> Duration() const;
    /// Returns the value of an option that is an integer from minimum to maximum.
    int Number(const QString& option, int minimum, int maximum = std::numeric_limits<int>::max()) const;
    /// Throws CWrongUsage with the text "--OPTION why" if one of the options is given.
    void Refuse(const QStringList& options, const QString& why) const;

private:
    /// Returns the value of an option that is a number of seconds from 0.001 to 86400.
    std::chrono::milliseconds Seconds(const QString& option) const;

    QCommandLineParser m_parser;
    QStringList m_arguments; ///< as the usage line shows them
    std::vector<std::pair<QString, int>> m_list;
};

/// Returns whether an argument starts like a JSON object. Keywords and request names never do.
bool IsObject(const QString& argument);

/// Returns a duration as messages show it: "2.5 s".
QString TextOf(std::chrono::milliseconds duration);
