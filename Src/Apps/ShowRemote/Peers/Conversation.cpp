#include "ShowRemote/Peers/Conversation.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/Vocabulary.h"
#include "Interfaces/AppServer.h"
#include "ShowRemote/Commands/AppRequests.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/OutFile.h"
#include "ShowRemote/Console/Terminal.h"
#include "ShowRemote/Contract.h"

#include <QJsonDocument>
#include <QUuid>

#include <algorithm>

namespace {

using Clock = CEnvelopePeer::Clock;

constexpr auto kHeaderBytes = static_cast<int>(Envelope::kIdHeaderBytes);

bool IsIdForm(const QByteArray& body)
{
    return body.startsWith(Envelope::kIdMark) && body.size() >= kHeaderBytes;
}

void PrintIdForm(const QByteArray& body)
{
    constexpr auto kMarkBytes = static_cast<int>(Envelope::kMarkBytes);
    const QByteArray bytes = body.mid(kHeaderBytes);
    const std::uint32_t length = Envelope::ReadNumber(body.constData() + kHeaderBytes - 4);
    if (length != static_cast<std::uint32_t>(bytes.size()))
        throw CFailure(
            QStringLiteral("the reply's header says %1 bytes, but %2 bytes follow").arg(length).arg(bytes.size()));
    const QUuid id = QUuid::fromRfc4122(body.mid(kMarkBytes, 16));
    Terminal::PrintLine(QStringLiteral("id %1, %2 bytes").arg(id.toString(QUuid::WithoutBraces)).arg(bytes.size()));
}

/// Prints a message. Returns its body's JSON document, or a null document if the body isn't JSON.
QJsonDocument Print(const SMessage& message)
{
    Terminal::PrintLine(QStringLiteral("<- %1 on %2")
                            .arg(QString::fromStdString(Command::TextOf(message.code)), NameOf(message.channel)));
    QJsonDocument json;
    if (message.body.isEmpty())
        Terminal::PrintLine("no body");
    else if (IsIdForm(message.body))
        PrintIdForm(message.body);
    else if (json = Terminal::PrintJson(message.body); json.isNull())
        Terminal::PrintLine(QStringLiteral("%1 bytes that are not JSON").arg(message.body.size()));
    return json;
}

bool WritePicture(const QByteArray& body, const QString& outFile)
{
    if (outFile.isEmpty() || !IsIdForm(body) || body.size() == kHeaderBytes)
        return false;
    WriteOutFile(outFile, body.mid(kHeaderBytes));
    return true;
}

QString LoginRefusal(int result)
{
    switch (result) {
    case LoginResult::Success:
        return {};
    case LoginResult::UnknownUser:
        return QStringLiteral("the host doesn't know this user");
    case LoginResult::WrongPassword:
        return QStringLiteral("wrong password");
    case LoginResult::AnotherAppLoggedIn:
        return QStringLiteral("another app is logged in; use --force to replace it");
    default:
        return QStringLiteral("the host refused the login with result %1").arg(result);
    }
}

/// Returns the reason why a reply is a failure; empty if it isn't one.
QString FaultOf(const SMessage& reply, const QJsonDocument& json)
{
    if (IsIdForm(reply.body))
        return reply.body.size() > kHeaderBytes ? QString() : QStringLiteral("the host sent an empty picture");
    if (!json.isObject())
        return QStringLiteral("the reply is not a JSON object");
    if (reply.code == Command::ReplyTo(Command::Login))
        return LoginRefusal(json["result"].toInt(-1));
    return Contract::RefusalOf(json["errorMsg"].toString());
}

} // namespace

void Conversation::ConnectBoth(CEnvelopePeer& peer, const QString& host, std::chrono::milliseconds timeout)
{
    peer.Connect(Channel::Control, host, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("control channel open: %1:%2").arg(host).arg(AppServer::kControlPort));
    peer.Connect(Channel::Bulk, host, Clock::now() + timeout);
    Terminal::PrintLine(QStringLiteral("bulk channel open: %1:%2").arg(host).arg(AppServer::kBulkPort));
}

QByteArray Conversation::Ask(CEnvelopePeer& peer, const SRequest& request)
{
    const auto deadline = Clock::now() + request.timeout;
    peer.Send(request.channel, request.code, request.body, deadline);

    QByteArray lastBody;
    QString fault;
    bool isWritten = false;
    std::vector<unsigned int> expected = AppRequests::RepliesTo(request.channel, request.code, request.body);
    while (!expected.empty()) {
        const auto message = peer.Receive(deadline);
        if (!message)
            throw CFailure(
                QStringLiteral("no reply %1 within %2")
                    .arg(QString::fromStdString(Command::TextOf(expected.front())), TextOf(request.timeout)));
        const QJsonDocument json = Print(*message);
        const auto found = std::find(expected.begin(), expected.end(), message->code);
        if (found == expected.end())
            continue;
        expected.erase(found);
        lastBody = message->body;
        if (fault.isEmpty())
            fault = FaultOf(*message, json);
        isWritten |= WritePicture(lastBody, request.outFile);
    }
    // After all replies have been printed.
    if (!fault.isEmpty())
        throw CFailure(fault);
    if (!isWritten && !request.outFile.isEmpty())
        throw CFailure(QStringLiteral("no reply contained a picture for %1").arg(request.outFile));
    return lastBody;
}

void Conversation::Show(const SMessage& message)
{
    Print(message);
}
