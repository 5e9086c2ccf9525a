#include "ShowRemote/Discover.h"

#include "AppServer/AppServerConfig.h"
#include "ExternalController/Common/Discovery.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/SocketErrors.h"
#include "ShowRemote/Terminal.h"

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <optional>
#include <vector>

namespace {

constexpr std::size_t kLargestDatagram = 65535;

struct SAnswer {
    QByteArray text;
    QString from;
};

/// Connected to the host, so that a host where nobody listens is told at once instead of by silence.
std::optional<SAnswer> Ask(const QString& host, std::chrono::milliseconds timeout)
{
    asio::io_context context;
    asio::error_code error;
    const auto found = asio::ip::udp::resolver(context).resolve(asio::ip::udp::v4(), host.toStdString(),
                                                                std::to_string(AppServer::kDiscoveryPort), error);
    if (error)
        throw CFailure(CantFind(host));

    asio::ip::udp::socket socket(context, asio::ip::udp::v4());
    socket.connect(*found.begin(), error);
    if (!error)
        socket.send(asio::buffer(kDiscoveryRequest, sizeof kDiscoveryRequest - 1), 0, error);
    if (error)
        throw CFailure(CantConnect(host, AppServer::kDiscoveryPort, error));

    std::vector<char> datagram(kLargestDatagram);
    std::optional<SAnswer> answer;
    asio::ip::udp::endpoint from;
    socket.async_receive_from(asio::buffer(datagram), from, [&](const asio::error_code& failure, std::size_t bytes) {
        error = failure;
        if (!failure)
            answer = {QByteArray(datagram.data(), static_cast<int>(bytes)),
                      QStringLiteral("%1:%2").arg(from.address().to_string().c_str()).arg(from.port())};
    });
    context.run_for(timeout);
    if (error)
        throw CFailure(CantConnect(host, AppServer::kDiscoveryPort, error));
    return answer;
}

} // namespace

int RunDiscover(const QStringList& arguments)
{
    CCommandLine line("", "Asks a host who it is: its name, its id and its network adapters' addresses.");
    line.AddHostOption();
    line.AddTimeoutOption();
    if (!line.Parse(arguments))
        return kExitDone;
    line.Positional(0, 0);

    const auto answer = Ask(line.Host(), line.Timeout());
    if (!answer)
        throw CFailure(QStringLiteral("no answer from %1:%2 within %3")
                           .arg(line.Host())
                           .arg(AppServer::kDiscoveryPort)
                           .arg(TextOf(line.Timeout())));
    Terminal::PrintLine(QStringLiteral("answer from %1").arg(answer->from));
    if (!Terminal::PrintJson(answer->text))
        throw CFailure("the answer is no JSON: " + QString::fromUtf8(answer->text));
    return kExitDone;
}
