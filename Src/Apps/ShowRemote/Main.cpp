#include "ShowRemote/Commands/Commands.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <QCoreApplication>

#include <exception>

namespace {

struct SCommand {
    const char* name;
    const char* help;
    /// Runs the command with its name and the arguments after it. Returns an exit code.
    int (*run)(const QStringList& arguments);
};

constexpr SCommand kCommands[] = {
    {"discover", "Ask a host for its name and addresses, as the mobile app.", RunDiscover},
    {"app", "Send a request as the mobile app and show the replies.", RunApp},
    {"upload", "Upload a media file as the mobile app.", RunUpload},
    {"central", "Send a text command as central control and show the answer.", RunCentral},
    {"cloud", "Send a command as the cloud service and show the replies.", RunCloud},
    {"fp", "Send a request as the FP controller and show the replies.", RunFP},
    {"device", "Act as an external control device and show the received data.", RunDevice},
    {"replay", "Send the messages of a recording again and compare the replies.", RunReplay},
    {"recording", "Show a summary of a recording or convert it to a capture.", RunRecording},
    {"dissector", "Print a dissector of the messages for Wireshark.", RunDissector},
};

void PrintHelp()
{
    Output::PrintLine("Usage: showremote COMMAND [options] ...");
    Output::PrintLine("Act as a remote controller or an external control device of a show host.\n");
    Output::PrintLine("Commands:");
    for (const SCommand& command : kCommands)
        Output::PrintLine(QStringLiteral("  %1  %2").arg(command.name, -9).arg(command.help));
    Output::PrintLine("\nOptions:");
    Output::PrintLine("  --help     Show this help.");
    Output::PrintLine("  --version  Show the versions of showremote and of the message contract.");
    Output::PrintLine("\nRun showremote COMMAND --help to show the options of a command.");
    Output::PrintLine("Exit codes: 0 success, 1 failure, 2 wrong usage.");
}

void PrintVersion()
{
    Output::PrintLine(
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
        throw CWrongUsage("expected a command");
    const QString& name = arguments.first();
    if (name == "--help" || name == "-h")
        PrintHelp();
    else if (name == "--version")
        PrintVersion();
    else
        throw CWrongUsage(QStringLiteral("unknown command \"%1\"").arg(name));
    return kExitDone;
}

} // namespace

int main(int argc, char* argv[])
{
    Output::ReserveStandardStreams();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    const SCommand* const command = Find(arguments.value(0));
    const QString who = command ? QStringLiteral("showremote %1").arg(command->name) : QStringLiteral("showremote");
    try {
        return Run(command, arguments);
    } catch (const CWrongUsage& error) {
        Output::PrintError(QStringLiteral("%1: %2 (see %1 --help)").arg(who, error.what()));
        return kExitWrongUsage;
    } catch (const std::exception& error) {
        Output::PrintError(QStringLiteral("%1: %2").arg(who, QString::fromUtf8(error.what())));
        return kExitFailed;
    }
}
