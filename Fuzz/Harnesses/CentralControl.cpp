#include "FuzzHost.h"

#include "CentralControl/TextCommand.h"
#include "Support/RecordingChannels.h"

#include <QJsonDocument>

namespace {

constexpr char kPeerIp[] = "10.0.0.9";
constexpr int kPeerPort = 4009;
constexpr std::size_t kMaxDatagramBytes = 65507;

void CheckRefusal(const QJsonObject& refusal)
{
    const std::string text = QJsonDocument(refusal).toJson().toStdString();
    FuzzHost::Require(text.size() <= kMaxDatagramBytes, "a refusal fits a datagram");
    const STextCommand answer = TextCommand::Read(text);
    FuzzHost::Require(answer.refusal.isEmpty() && answer.message.isEmpty(), "a refusal is not answered");
}

} // namespace

// A datagram of central control.
void FuzzInput(std::string_view input)
{
    STextCommand command = TextCommand::Read(std::string(input));
    if (!command.refusal.isEmpty())
        CheckRefusal(command.refusal);
    if (command.message.isEmpty())
        return;
    command.message.insert("remoteIp", kPeerIp);
    command.message.insert("remotePort", kPeerPort);
    RecordingChannels::Callbacks().central(command.message);

    for (const SChannelCall& call : RecordingChannels::Outgoing()) {
        if (call.name != "Central.SendData")
            continue;
        FuzzHost::Require(call.ip == kPeerIp && call.port == kPeerPort,
                          "an answer is sent to the sender of the request");
        FuzzHost::Require(call.text.size() <= kMaxDatagramBytes, "an answer fits a datagram");
    }
}
