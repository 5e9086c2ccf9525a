#include "FuzzHost.h"

#include "CloudControl/CloudCommand.h"
#include "ExternalController/Common/Command.h"
#include "Support/RecordingChannels.h"

#include <QJsonDocument>

// Text frames of the cloud service, separated by a byte 0x1e.
void FuzzInput(std::string_view input)
{
    // An export encodes every picture of the project: one per input is enough.
    bool exported = false;
    const QByteArray frames(input.data(), static_cast<int>(input.size()));
    for (const QByteArray& frame : frames.split('\x1e').mid(0, 16)) {
        QString refusal;
        // A WebSocket delivers valid UTF-8 only.
        QJsonObject command = CloudCommand::Read(QString::fromUtf8(frame).toUtf8(), refusal);
        FuzzHost::Require(refusal.isEmpty() != command.isEmpty(), "a frame is a command or refused with a reason");
        const bool exports = command["cmdType"].toInt() == Command::ProjectExport;
        if (refusal.isEmpty() && !(exports && exported))
            RecordingChannels::Callbacks().cloud(command);
        exported |= exports;
    }
    for (const SChannelCall& call : RecordingChannels::Outgoing()) {
        if (call.name == "Cloud.SendData")
            FuzzHost::Require(QJsonDocument::fromJson(CloudCommand::Reply(call.number, call.text).toUtf8())["route"] ==
                                  call.number,
                              "a reply is a JSON object with its route");
    }
}
