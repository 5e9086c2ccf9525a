#include "ShowRemote/AppRequests.h"

#include "ExternalController/Common/CommandNames.h"
#include "ShowRemote/Failure.h"

namespace {

constexpr std::size_t kMostReplies = 2;

struct SExpectation {
    Command::Code request;
    std::size_t count;
    Command::Code replies[kMostReplies];
};

/// Requests that are not answered by one reply with their own code.
constexpr SExpectation kExpectations[] = {
    {Command::SetHostName, 2, {Command::SetHostName, Command::HostNameAndVersion}},
    {Command::ShutDown, 0, {}}, // the host goes without a word
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
        for (std::size_t i = 0; i < expectation.count; ++i)
            replies.push_back(Command::ReplyTo(expectation.replies[i]));
        return replies;
    }
    return {Command::ReplyTo(static_cast<int>(code))};
}
