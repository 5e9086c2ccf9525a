#include "ShowRemote/Commands/Commands.h"

#include "FPClient/FPClientConfig.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Commands/Listen.h"
#include "ShowRemote/Commands/Server.h"
#include "ShowRemote/Console/Failure.h"

namespace {

/// A host that can't connect waits up to 10 s before the next attempt.
constexpr char kFPTimeoutSeconds[] = "15";

class CFPController final : public IServer {
public:
    explicit CFPController(SRequest request) : m_request(std::move(request)) {}

    void Open(const QString& address, std::uint16_t port) override { m_peer.Listen(address, port); }
    std::optional<QString> Accept(Clock::time_point deadline) override { return m_peer.Accept(Channel::FP, deadline); }
    void Ask() override { AppRequests::Ask(m_peer, m_request); }
    void Listen(std::optional<std::chrono::milliseconds> duration) override
    {
        ::Listen(m_peer, duration, AppRequests::Show);
    }

private:
    const SRequest m_request;
    CEnvelopePeer m_peer;
};

} // namespace

int RunFP(const QStringList& arguments)
{
    CCommandLine line("Act as the FP controller: wait for the host to connect, send a request and show every reply.");
    AddServerOptions(line, FPClient::kDefaultPort, kFPTimeoutSeconds);
    line.AddRequestOrListen("REQUEST", "A name from showremote app --list or a code such as 274 or 0x112.");
    line.AddArgument("[JSON]", "The body of the request, an object.");
    if (!line.Parse(arguments))
        return kExitDone;
    CFPController controller(line.IsListen() ? SRequest{} : AppRequests::Read(line, Channel::FP));
    RunServer(controller, line, "--fp ");
    return kExitDone;
}
