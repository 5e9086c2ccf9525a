#include "ShowRemote/Conversation.h"

#include "Interfaces/AppServer.h"
#include "ShowRemote/AppRequests.h"
#include "ShowRemote/CommandLine.h"
#include "ShowRemote/Failure.h"
#include "ShowRemote/OutFile.h"
#include "ShowRemote/Terminal.h"

#include <QUuid>

#include <algorithm>

namespace {

using Clock = CEnvelopePeer::Clock;

/// Prints a body of the id form; false when it is none.
bool PrintIdForm(const QByteArray& body, const QString& outFile)
{
    constexpr auto kHeaderBytes = static_cast<int>(Envelope::kIdHeaderBytes);
    constexpr auto kMarkBytes = static_cast<int>(Envelope::kMarkBytes);
    if (!body.startsWith(Envelope::kIdMark) || body.size() < kHeaderBytes)
        return false;
    const QByteArray bytes = body.mid(kHeaderBytes);
    const std::uint32_t length = Envelope::ReadNumber(body.constData() + kHeaderBytes - 4);
    if (length != static_cast<std::uint32_t>(bytes.size()))
        throw CFailure(QStringLiteral("the reply claims %1 bytes and carries %2").arg(length).arg(bytes.size()));
    const QUuid id = QUuid::fromRfc4122(body.mid(kMarkBytes, 16));
    Terminal::PrintLine(QStringLiteral("id %1, %2 bytes").arg(id.toString(QUuid::WithoutBraces)).arg(bytes.size()));
    if (!outFile.isEmpty())
        WriteOutFile(outFile, bytes);
    return true;
}

} // namespace

void Conversation::ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout)
{
    peer.Connect(Channel::Control, host, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("control channel open: %1:%2").arg(host).arg(AppServer::kControlPort));
    peer.Connect(Channel::Bulk, host, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("bulk channel open: %1:%2").arg(host).arg(AppServer::kBulkPort));
}

std::vector<SMessage> Conversation::Ask(CEnvelopePeer& peer, const SRequest& request)
{
    const auto deadline = Clock::now() + request.timeout;
    peer.Send(request.channel, request.code, request.body, deadline);

    std::vector<SMessage> messages;
    std::vector<unsigned int> expected = AppRequests::RepliesTo(request.channel, request.code);
    while (!expected.empty()) {
        const auto message = peer.Receive(deadline);
        if (!message)
            throw CFailure(QStringLiteral("no reply %1 within %2")
                               .arg(AppRequests::TextOf(expected.front()), TextOf(request.timeout)));
        Show(*message, request.outFile);
        const auto found = std::find(expected.begin(), expected.end(), message->code);
        if (found != expected.end())
            expected.erase(found);
        messages.push_back(*message);
    }
    return messages;
}

void Conversation::Show(const SMessage& message, const QString& outFile)
{
    Terminal::PrintLine(QStringLiteral("<- %1 on %2").arg(AppRequests::TextOf(message.code), NameOf(message.channel)));
    if (message.body.isEmpty())
        Terminal::PrintLine("no body");
    else if (!PrintIdForm(message.body, outFile) && !Terminal::PrintJson(message.body))
        Terminal::PrintLine(QStringLiteral("%1 bytes that are no JSON").arg(message.body.size()));
}
