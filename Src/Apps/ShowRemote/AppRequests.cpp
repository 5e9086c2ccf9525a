#include "ShowRemote/AppRequests.h"

#include "ExternalController/Common/CommandNames.h"
#include "ShowRemote/Failure.h"

namespace {

struct SExpectation {
    Command::Code request;
    std::vector<Command::Code> replies;
};

/// Requests that are not answered by one reply with their own code.
const SExpectation kExpectations[] = {
    {Command::SetHostName, {Command::SetHostName, Command::HostNameAndVersion}},
    {Command::ShutDown, {}}, // the host goes without a word
    {Command::SharedTypeThumbnails, std::vector<Command::Code>(7, Command::SharedTypeThumbnails)}, // one a type
};

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
        throw CWrongUsage(
            QStringLiteral("there is no request called \"%1\", showremote app --list tells all").arg(request));
    if (code >= Command::kReplyBit)
        throw CWrongUsage(
            QStringLiteral("%1 is no request: their codes are below 0x%2").arg(request).arg(Command::kReplyBit, 0, 16));
    return code;
}

QString AppRequests::TextOf(unsigned int code)
{
    const char* name = Command::NameOf(code & ~Command::kReplyBit);
    return QStringLiteral("%1 (0x%2)").arg(name ? name : "unnamed").arg(code, 3, 16, QLatin1Char('0'));
}

std::vector<unsigned int> AppRequests::RepliesTo(Channel channel, unsigned int code)
{
    if (channel == Channel::FP)
        return {code};
    std::vector<unsigned int> replies;
    for (const SExpectation& expectation : kExpectations) {
        if (static_cast<unsigned int>(expectation.request) != code)
            continue;
        for (const Command::Code reply : expectation.replies)
            replies.push_back(Command::ReplyTo(reply));
        return replies;
    }
    return {Command::ReplyTo(static_cast<int>(code))};
}
