#include "ShowRemote/App.h"
#include "ShowRemote/Central.h"
#include "ShowRemote/Cloud.h"
#include "ShowRemote/Device.h"
#include "ShowRemote/Discover.h"
#include "ShowRemote/FP.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"
#include "ShowRemote/Upload.h"

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
    {"discover", "asks who is there, as an app does before it connects", RunDiscover},
    {"app", "sends a request as the mobile app and shows the replies", RunApp},
    {"upload", "uploads a media file as the mobile app", RunUpload},
    {"central", "sends a text command as central control and shows the answer", RunCentral},
    {"cloud", "sends a command as the cloud service and shows the replies", RunCloud},
    {"fp", "sends a request as the FP controller and shows the replies", RunFP},
    {"device", "plays an external control device and shows what it is sent", RunDevice},
};

void PrintHelp()
{
    Terminal::PrintLine("Usage: showremote COMMAND [options] ...");
    Terminal::PrintLine("Plays the far ends that control a show: what a remote would send, showremote sends.\n");
    Terminal::PrintLine("Commands:");
    for (const SCommand& command : kCommands)
        Terminal::PrintLine(QStringLiteral("  %1  %2").arg(command.name, -9).arg(command.help));
    Terminal::PrintLine("\nshowremote COMMAND --help tells a command's options.");
    Terminal::PrintLine("Ends with 0 when the expected answer came, 1 when it did not, 2 on wrong usage.");
}

int WrongUsage(const QString& who, const QString& text)
{
    Terminal::PrintError(QStringLiteral("%1: %2 (%1 --help tells more)").arg(who, text));
    return kExitWrongUsage;
}

int Run(const SCommand& command, const QStringList& arguments)
{
    const QString who = QStringLiteral("showremote %1").arg(command.name);
    try {
        return command.run(arguments);
    } catch (const CWrongUsage& error) {
        return WrongUsage(who, error.what());
    } catch (const std::exception& error) {
        Terminal::PrintError(QStringLiteral("%1: %2").arg(who, QString::fromUtf8(error.what())));
        return kExitFailed;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);

    if (arguments.isEmpty())
        return WrongUsage("showremote", "a command is missing");
    const QString& name = arguments.first();
    if (name == "--help" || name == "-h") {
        PrintHelp();
        return kExitDone;
    }
    for (const SCommand& command : kCommands) {
        if (name == command.name)
            return Run(command, arguments);
    }
    return WrongUsage("showremote", QStringLiteral("there is no command \"%1\"").arg(name));
}
