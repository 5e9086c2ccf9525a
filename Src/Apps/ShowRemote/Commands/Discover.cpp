#include "ShowRemote/Commands/Commands.h"

#include "AppServer/AppServerConfig.h"
#include "Comm/PayloadText.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Peers/Datagrams.h"

int RunDiscover(const QStringList& arguments)
{
    CCommandLine line("Ask a host for its name, its id and the addresses of its network adapters.");
    line.AddHostOption();
    line.AddTimeoutOption();
    if (!line.Parse(arguments))
        return kExitDone;
    line.Positional(0, 0);

    const QByteArray answer =
        Datagrams::Ask(line.Host(), AppServer::kDiscoveryPort, kDiscoveryRequest, line.Timeout()).value();
    if (!Output::PrintJson(answer).isObject())
        throw CFailure("the answer is not a JSON object: " + PayloadText(answer.left(kMaxShownCharacters)));
    return kExitDone;
}
