#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/ExternalController.h"
#include "Interfaces/ResultModel.h"

SOperation CExternalController::MakeAnswer(const SResultData& command, ResultText::Index result)
{
    SOperation answer = {SenderType::ProjectData, command.nCmdCode, command.jsonBody, command.nSourceFlags};
    answer.jsonBody["result"] = result;
    answer.jsonBody["errorMsg"] = QString::fromStdString(ResultTextMap.at(result));
    // The stage sender would send this value, which came from the peer, to central control as the host's reply.
    answer.jsonBody.remove("respon");

    // A sender returns the answer to the peer only if it has no handler for the code. The project data sender has no
    // handlers for the codes of other senders, and the stage sender has none for those of the project data sender.
    if ((command.nCmdCode & Command::kSenderMask) == SenderType::ProjectData)
        answer.nSenderType = SenderType::Stage;
    // Central control gets only the text, without a code. Of the two senders only the stage sender sends it.
    if (command.nSourceFlags & Source::CentralControl) {
        answer.nSenderType = SenderType::Stage;
        answer.nCmdCode = Command::PlayControl;
    }
    return answer;
}
