#include "ShowRemote/Commands/Commands.h"

#include "FPClient/FPClientConfig.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Commands/Listen.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Terminal.h"
#include "ShowRemote/Peers/Conversation.h"

namespace {

constexpr char kFPUsage[] =
    "Act as the FP controller: wait for the host to connect, send a request and show every reply. REQUEST is a name "
    "from showremote app --list or a code such as 274 or 0x112; JSON is its body. If REQUEST is listen, show all "
    "messages of the host until Ctrl-C.";

/// A host that can't connect waits up to 10 s before the next attempt.
constexpr char kFPTimeoutSeconds[] = "15";

void AddFPOptions(CCommandLine& line)
{
    line.AddListenAddressOptions("the host", FPClient::kDefaultPort);
    line.AddTimeoutOption(kFPTimeoutSeconds);
    AddListenOptions(line);
}

SRequest ReadFPRequest(const CCommandLine& line)
{
    const QStringList positional = line.Positional(1, 2);
    RefuseListenOptions(line);
    SRequest request;
    request.channel = Channel::FP;
    request.timeout = line.Timeout();
    request.code = AppRequests::CodeOf(positional[0]);
    if (positional.size() > 1)
        request.body = CheckedObject(positional[1]);
    return request;
}

void AwaitHost(CEnvelopePeer& peer, const CCommandLine& line)
{
    const QString address = line.ListenAddress();
    const std::uint16_t port = line.ListenPort();
    Terminal::PrintLine(QStringLiteral("waiting for the host on %1:%2").arg(address).arg(port));
    const QString host = peer.Accept(Channel::FP, address, port, CEnvelopePeer::Clock::now() + line.Timeout());
    Terminal::PrintLine(QStringLiteral("the host connected from %1").arg(host));
}

} // namespace

int RunFP(const QStringList& arguments)
{
    CCommandLine line("REQUEST [JSON]", kFPUsage);
    AddFPOptions(line);
    if (!line.Parse(arguments))
        return kExitDone;

    CEnvelopePeer peer;
    if (line.Positional(1, 2).first() == kListen) {
        line.Positional(1, 1);
        const SListening listening = ReadListening(line);
        AwaitHost(peer, line);
        Listen(peer, listening);
    } else {
        const SRequest request = ReadFPRequest(line);
        AwaitHost(peer, line);
        Conversation::Ask(peer, request);
    }
    return kExitDone;
}
