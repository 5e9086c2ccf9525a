#include "ShowRemote/Commands/Server.h"

#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

void AddServerOptions(CCommandLine& line, int defaultPort, const QString& timeoutSeconds)
{
    line.AddListenAddressOptions("the host", defaultPort);
    line.AddTimeoutOption(timeoutSeconds);
}

void RunServer(IServer& server, const CCommandLine& line, const QString& hostOption)
{
    const bool listens = line.IsListen();
    const auto duration = line.Duration();
    const auto timeout = line.Timeout();
    const QString ownAddress = AddressText(line.ListenAddress(), line.ListenPort());

    server.Open(line.ListenAddress(), line.ListenPort());
    Output::PrintLine(QStringLiteral("waiting for the host on %1").arg(ownAddress));
    const auto host = server.Accept(IServer::Clock::now() + timeout);
    if (!host)
        throw CFailure(QStringLiteral("no host connected to %1 within %2; is showhost running with %3%1?")
                           .arg(ownAddress, TextOf(timeout), hostOption));
    Output::PrintLine(QStringLiteral("the host connected from %1").arg(*host));
    if (listens)
        server.Listen(duration);
    else
        server.Ask();
}
