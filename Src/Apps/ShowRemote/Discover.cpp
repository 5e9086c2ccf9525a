#include "ShowRemote/Discover.h"

#include "AppServer/AppServerConfig.h"
#include "ExternalController/Common/Discovery.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Datagrams.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/Terminal.h"

int RunDiscover(const QStringList& arguments)
{
    CCommandLine line("", "Asks a host who it is: its name, its id and its network adapters' addresses.");
    line.AddHostOption();
    line.AddTimeoutOption();
    if (!line.Parse(arguments))
        return kExitDone;
    line.Positional(0, 0);

    const QByteArray answer = Datagrams::Ask(line.Host(), AppServer::kDiscoveryPort, kDiscoveryRequest, line.Timeout());
    if (!Terminal::PrintJson(answer))
        throw CFailure("the answer is no JSON: " + QString::fromUtf8(answer));
    return kExitDone;
}
