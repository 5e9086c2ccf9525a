#include "ShowRemote/Commands/AppRequests.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/JsonReader.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ShowRemote/Console/CommandLine.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Console/Output.h"
#include "ShowRemote/Contract.h"

#include <QJsonDocument>
#include <QUuid>

#include <algorithm>
#include <vector>

namespace {

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
    Output::PrintLine(QStringLiteral("id %1, %2 bytes").arg(id.toString(QUuid::WithoutBraces)).arg(bytes.size()));
}

/// Prints a message. Returns its body's JSON document, or a null document if the body isn't JSON.
QJsonDocument Print(const SMessage& message)
{
    Output::PrintLine(QStringLiteral("<- %1 on %2")
                          .arg(QString::fromStdString(Command::TextOf(message.code)), NameOf(message.channel)));
    QJsonDocument json;
    if (message.body.isEmpty())
        Output::PrintLine("no body");
    else if (IsIdForm(message.body))
        PrintIdForm(message.body);
    else if (json = Output::PrintJson(message.body); json.isNull())
        Output::PrintLine(QStringLiteral("%1 bytes that are not JSON").arg(message.body.size()));
    return json;
}

bool WritePicture(const QByteArray& body, const QString& outFile)
{
    if (outFile.isEmpty() || !IsIdForm(body) || body.size() == kHeaderBytes)
        return false;
    Output::WriteFile(outFile, body.mid(kHeaderBytes));
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

/// Returns the codes of the replies that show that a request has been handled, in no particular order.
std::vector<unsigned int> RepliesTo(const SRequest& request)
{
    const bool isFP = request.channel == Channel::FP;
    const unsigned int ownReply = isFP ? request.code : Command::ReplyTo(static_cast<int>(request.code));
    const auto promised = Contract::RepliesTo(isFP ? "fp" : "app", request.code);
    if (!promised)
        return {ownReply};
    // The host doesn't store an empty name; it only replies with its current name.
    if (!isFP && request.code == Command::SetHostName && ReadJson(request.body)["name"].toString().isEmpty())
        return {Command::ReplyTo(Command::HostNameAndVersion)};
    std::vector<unsigned int> replies;
    for (const QJsonObject& reply : *promised)
        replies.push_back(reply["code"].toString().isEmpty() ? ownReply : reply["code"].toString().toUInt(nullptr, 0));
    return replies;
}

} // namespace

unsigned int AppRequests::CodeOf(const QString& request)
{
    for (const Command::SName& entry : Command::kNames) {
        if (request == entry.name)
            return static_cast<unsigned int>(entry.code);
    }
    const bool isHex = request.startsWith("0x", Qt::CaseInsensitive);
    bool isNumber = false;
    const unsigned int code = request.toUInt(&isNumber, isHex ? 16 : 10);
    if (!isNumber)
        throw CWrongUsage(QStringLiteral("unknown request \"%1\"; showremote app --list lists all names").arg(request));
    if (code >= Command::kReplyBit)
        throw CWrongUsage(
            QStringLiteral("expected a request code below 0x%1, got %2").arg(Command::kReplyBit, 0, 16).arg(request));
    return code;
}

SRequest AppRequests::Read(const CCommandLine& line, Channel channel)
{
    SRequest request;
    request.code = CodeOf(line.Request());
    request.body = line.Json();
    request.channel = channel;
    request.timeout = line.Timeout();
    return request;
}

QByteArray AppRequests::Ask(CEnvelopePeer& peer, const SRequest& request)
{
    const auto deadline = CEnvelopePeer::Clock::now() + request.timeout;
    peer.Send(request.channel, request.code, request.body, deadline);

    QByteArray lastBody;
    QString fault;
    bool isWritten = false;
    std::vector<unsigned int> expected = RepliesTo(request);
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

void AppRequests::Show(const SMessage& message)
{
    Print(message);
    if (message.code == Command::ReplyTo(Command::AppGone))
        throw CFailure("another app logged in and replaced this one");
}
