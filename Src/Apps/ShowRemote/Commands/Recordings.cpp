#include "ShowRemote/Commands/Commands.h"

#include "Shared/PasswordInput.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Recording/Capture.h"
#include "ShowRemote/Recording/Replay.h"
#include "ShowRemote/Recording/Summary.h"

#include <algorithm>
#include <iterator>

namespace {

double ReadSpeed(const QString& text)
{
    if (text == QLatin1String("max"))
        return 0;
    bool isNumber = false;
    const double speed = text.toDouble(&isNumber);
    if (!isNumber || !(speed >= 0.001 && speed <= 1e6))
        throw CWrongUsage(
            QStringLiteral("--speed: expected a number from 0.001 to 1000000, or max, got \"%1\"").arg(text));
    return speed;
}

QSet<int> ReadChannels(const QStringList& names)
{
    QSet<int> channels;
    for (const QString& name : names) {
        const auto found = std::find(std::begin(kTrafficChannelNames), std::end(kTrafficChannelNames), name);
        if (found == std::end(kTrafficChannelNames))
            throw CWrongUsage(QStringLiteral("--channel: unknown channel \"%1\"").arg(name));
        channels.insert(static_cast<int>(std::distance(std::begin(kTrafficChannelNames), found)));
    }
    return channels;
}

/// Runs the action; reports a bad file without a hint to the help.
template <class Action>
int WithRecording(const CCommandLine& line, Action&& action)
{
    const QString file = line.Positional(1, 1).first();
    try {
        return action(ReadRecording(file));
    } catch (const CBadRecording& error) {
        Output::PrintError(error.what());
        return kExitWrongUsage;
    }
}

} // namespace

int RunReplay(const QStringList& arguments)
{
    CCommandLine line(
        "Send the remotes' messages of a recording (showhost --record) to a host again and compare its "
        "replies with the recorded ones. The exit code is 0 if there are no differences, 1 if there are "
        "some, and 2 if FILE is not a recording. For FP and cloud messages, wait for the host to connect.");
    line.AddArgument("FILE", "The recording.");
    line.AddHostOption();
    line.AddTimeoutOption();
    line.AddOption({"listen", "Listen on ADDRESS as FP controller and cloud service (default 127.0.0.1).", "ADDRESS",
                    "127.0.0.1"});
    line.AddOption({"speed", "Divide the recorded pauses by N; max: no pauses (default 1).", "N", "1"});
    line.AddOption({"channel", "Replay only this channel, such as \"app control\". Can be repeated.", "NAME"});
    line.AddOption({"user",
                    QStringLiteral("Log in as NAME where the recording has a login, with the password from the "
                                   "environment variable %1 or from a prompt (default: the recorded name).")
                        .arg(kPasswordVariable),
                    "NAME"});
    line.AddOption({"strict", "Compare values as well, except those that differ from run to run."});
    if (!line.Parse(arguments))
        return kExitDone;
    SReplayOptions options;
    options.host = line.Host();
    options.listen = line.ListenAddress();
    options.timeout = line.Timeout();
    options.speed = ReadSpeed(line.Value("speed"));
    options.channels = ReadChannels(line.Values("channel"));
    options.user = line.Value("user");
    options.strict = line.IsSet("strict");
    return WithRecording(line, [&](const SRecording& recording) {
        if (HasLogin(recording, options))
            options.password = qEnvironmentVariableIsSet(kPasswordVariable) ? qEnvironmentVariable(kPasswordVariable)
                                                                            : PasswordInput::Ask("Password");
        return Replay(recording, options) == 0 ? kExitDone : kExitFailed;
    });
}

int RunRecording(const QStringList& arguments)
{
    CCommandLine line("Show a summary of a recording (showhost --record).");
    line.AddArgument("FILE", "The recording.");
    line.AddOption({"pcapng", "Write the messages to FILE as a capture for Wireshark.", "FILE"});
    if (!line.Parse(arguments))
        return kExitDone;
    return WithRecording(line, [&](const SRecording& recording) {
        PrintSummary(recording);
        if (line.IsSet("pcapng"))
            Output::WriteFile(line.Value("pcapng"), MakeCapture(recording));
        return kExitDone;
    });
}

int RunDissector(const QStringList& arguments)
{
    CCommandLine line("Print a dissector for Wireshark and tshark, in Lua.");
    if (!line.Parse(arguments))
        return kExitDone;
    line.Positional(0, 0);
    Output::PrintLine(MakeDissector().trimmed());
    return kExitDone;
}
