#include "ShowRemote/Commands/Commands.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"

#include <QCoreApplication>

#include <exception>

namespace {

struct SCommand {
    const char* name;
    const char* help;
    /// Gets the command's name and what follows it; returns an exit code.
    int (*run)(const QStringList& arguments);
};

constexpr SCommand kCommands[] = {
    {"discover", "asks a host for its name and addresses, as the mobile app", RunDiscover},
    {"app", "sends a request as the mobile app and shows the replies", RunApp},
    {"upload", "uploads a media file as the mobile app", RunUpload},
    {"central", "sends a text command as central control and shows the answer", RunCentral},
    {"cloud", "sends a command as the cloud service and shows the replies", RunCloud},
    {"fp", "sends a request as the FP controller and shows the replies", RunFP},
    {"device", "plays an external control device and shows what it receives", RunDevice},
};

void PrintHelp()
{
    Terminal::PrintLine("Usage: showremote COMMAND [options] ...");
    Terminal::PrintLine("Plays the remote controllers and the devices of a show host.\n");
    Terminal::PrintLine("Commands:");
    for (const SCommand& command : kCommands)
        Terminal::PrintLine(QStringLiteral("  %1  %2").arg(command.name, -9).arg(command.help));
    Terminal::PrintLine("\nOptions:");
    Terminal::PrintLine("  --help     Show this help.");
    Terminal::PrintLine("  --version  Show the versions of showremote and of the message contract.");
    Terminal::PrintLine("\nshowremote COMMAND --help shows the options of a command.");
    Terminal::PrintLine("Exit codes: 0 the expected answer came, 1 failure, 2 wrong usage.");
}

void PrintVersion()
{
    Terminal::PrintLine(
        QStringLiteral("showremote %1 (contract %2)").arg(ZENTRAVOX_VERSION).arg(ZENTRAVOX_CONTRACT_VERSION));
}

const SCommand* Find(const QString& name)
{
    for (const SCommand& command : kCommands) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

int Run(const SCommand* command, const QStringList& arguments)
{
    if (command)
        return command->run(arguments);
    if (arguments.isEmpty())
        throw CWrongUsage("a command is missing");
    const QString& name = arguments.first();
    if (name == "--help" || name == "-h")
        PrintHelp();
    else if (name == "--version")
        PrintVersion();
    else
        throw CWrongUsage(QStringLiteral("there is no command \"%1\"").arg(name));
    return kExitDone;
}

} // namespace

int main(int argc, char* argv[])
{
    Terminal::ReserveStandardStreams();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const SCommand* const command = Find(arguments.value(0));
    const QString who = command ? QStringLiteral("showremote %1").arg(command->name) : QStringLiteral("showremote");
    try {
        return Run(command, arguments);
    } catch (const CWrongUsage& error) {
        Terminal::PrintError(QStringLiteral("%1: %2 (see %1 --help)").arg(who, error.what()));
        return kExitWrongUsage;
    } catch (const std::exception& error) {
        Terminal::PrintError(QStringLiteral("%1: %2").arg(who, QString::fromUtf8(error.what())));
        return kExitFailed;
    }
}
