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
        throw CWrongUsage(
            QStringLiteral("there is no request called \"%1\", showremote app --list lists them").arg(request));
    if (code >= Command::kReplyBit)
        throw CWrongUsage(QStringLiteral("%1 is not the code of a request: those are below 0x%2")
                              .arg(request)
                              .arg(Command::kReplyBit, 0, 16));
    return code;
}

std::vector<unsigned int> AppRequests::RepliesTo(Channel channel, unsigned int code, const QByteArray& body)
{
    const bool isFP = channel == Channel::FP;
    const unsigned int ownReply = isFP ? code : Command::ReplyTo(static_cast<int>(code));
    const auto promised = Contract::RepliesTo(isFP ? "fp" : "app", code);
    if (!promised)
        return {ownReply};
    // An empty name isn't stored, and the host reports only the name that it still has.
    if (!isFP && code == Command::SetHostName && ReadJson(body)["name"].toString().isEmpty())
        return {Command::ReplyTo(Command::HostNameAndVersion)};
    std::vector<unsigned int> replies;
    for (const QJsonObject& reply : *promised)
        replies.push_back(reply["code"].toString().isEmpty() ? ownReply : reply["code"].toString().toUInt(nullptr, 0));
    return replies;
}
