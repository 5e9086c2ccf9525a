#include "ShowRemote/Peers/Datagrams.h"

#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"

#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <algorithm>

namespace {

/// Refusals and ICMP errors arrive within a few round trips.
constexpr std::chrono::milliseconds kMaxWaitForError(500);

} // namespace

/// The socket is connected, so that a closed port is reported immediately instead of after the timeout.
std::optional<QByteArray> Datagrams::Ask(const QString& host, std::uint16_t port, const QByteArray& datagram,
                                         std::chrono::milliseconds timeout, bool mayBeSilent)
{
    asio::io_context context;
    asio::error_code error;
    const auto found =
        asio::ip::udp::resolver(context).resolve(asio::ip::udp::v4(), host.toStdString(), std::to_string(port), error);
    if (error)
        throw CantResolve(host);

    asio::ip::udp::socket socket(context, asio::ip::udp::v4());
    socket.connect(*found.begin(), error);
    if (!error)
        socket.send(asio::buffer(datagram.constData(), static_cast<std::size_t>(datagram.size())), 0, error);
    if (error)
        throw CantConnect(host, port, error);

    QByteArray answer(kLargestDatagram, '\0');
    bool answered = false;
    asio::ip::udp::endpoint from;
    socket.async_receive_from(asio::buffer(answer.data(), static_cast<std::size_t>(answer.size())), from,
                              [&](const asio::error_code& failure, std::size_t bytes) {
                                  error = failure;
                                  answered = !failure;
                                  answer.truncate(static_cast<int>(bytes));
                              });
    context.run_for(mayBeSilent ? std::min(timeout, kMaxWaitForError) : timeout);
    if (error)
        throw CantConnect(host, port, error);
    if (!answered && mayBeSilent)
        return std::nullopt;
    if (!answered)
        throw CFailure(QStringLiteral("no answer from %1 within %2").arg(AddressText(host, port), TextOf(timeout)));
    Output::PrintLine("answer from " + AddressText(from.address().to_string().c_str(), from.port()));
    return answer;
}
