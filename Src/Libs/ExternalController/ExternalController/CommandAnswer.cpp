#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/ExternalController.h"
#include "Interfaces/ResultModel.h"

SOperation CExternalController::MakeAnswer(const SResultData& command, ResultText::Index result)
{
    SOperation answer = {SenderType::ProjectData, command.nCmdCode, command.jsonBody, command.nSourceFlags};
    answer.jsonBody["result"] = result;
    answer.jsonBody["errorMsg"] = QString::fromStdString(ResultTextMap.at(result));
    // The senders would take it for a reply of the host's own making.
    answer.jsonBody.remove("respon");

    // A sender relays the answer if it has no handler for the code: the project data sender has none for the other
    // senders' codes, and the stage sender has none for the project data sender's.
    if ((command.nCmdCode & Command::kSenderMask) == SenderType::ProjectData)
        answer.nSenderType = SenderType::Stage;
    // Central control gets the text alone, without a code, and only the stage sender relays it.
    if (command.nSourceFlags & Source::CentralControl) {
        answer.nSenderType = SenderType::Stage;
        answer.nCmdCode = Command::PlayControl;
    }
    return answer;
}
