#include "ShowRemote/Commands/AppRequests.h"

#include "ExternalController/Common/CommandNames.h"
#include "ExternalController/Common/JsonReader.h"
#include "ShowRemote/Console/Failure.h"
#include "ShowRemote/Contract.h"

#include <QJsonDocument>

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

std::vector<unsigned int> AppRequests::RepliesTo(Channel channel, unsigned int code, const QByteArray& body)
{
    const bool isFP = channel == Channel::FP;
    const unsigned int ownReply = isFP ? code : Command::ReplyTo(static_cast<int>(code));
    const auto promised = Contract::RepliesTo(isFP ? "fp" : "app", code);
    if (!promised)
        return {ownReply};
    // The host doesn't store an empty name; it only replies with its current name.
    if (!isFP && code == Command::SetHostName && ReadJson(body)["name"].toString().isEmpty())
        return {Command::ReplyTo(Command::HostNameAndVersion)};
    std::vector<unsigned int> replies;
    for (const QJsonObject& reply : *promised)
        replies.push_back(reply["code"].toString().isEmpty() ? ownReply : reply["code"].toString().toUInt(nullptr, 0));
    return replies;
}
