#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"
#include "Interfaces/ResultModel.h"

#include <QJsonObject>

#include <utility>

bool CExternalController::Read(SOperation)
{
    return false;
}

bool CExternalController::Write(SOperation operation)
{
    IMsgSenderBase* sender = operation.nSenderType == SenderType::None ? nullptr : FindSender(operation.nSenderType);
    return sender && sender->HandleMsg(std::move(operation));
}

IMsgSenderBase* CExternalController::FindSender(int senderType) const
{
    // The channels may already deliver requests while Init creates the senders.
    if (!m_sendersReady.load(std::memory_order_acquire))
        return nullptr;
    const auto found = m_senders.find(senderType);
    return found == m_senders.end() ? nullptr : found->second;
}

void CExternalController::ReportToHost(const SOperation& request, bool hasData)
{
    SResultData result = {request.nSenderType, request.nCmdCode, hasData, request.jsonBody, request.nSourceFlags};
    if (CResultModel* host = CResultModel::GetInstance())
        host->NotifyExControlMsgResult(true, result);
}

SOperation CExternalController::MakeAnswer(const SResultData& command, ResultText::Index result)
{
    SOperation answer = {SenderType::ProjectData, command.nCmdCode, command.jsonBody, command.nSourceFlags};
    answer.jsonBody["result"] = result;
    answer.jsonBody["errorMsg"] = QString::fromStdString(ResultTextMap.at(result));
    // The stage sender would send this value, which came from the peer, to central control as the host's reply.
    answer.jsonBody.remove("respon");

    // A sender returns the answer to the peer only if it has no handler for the code. The project data sender has no
    // handlers for the codes of other senders, and the stage sender has none for those of the project data sender.
    if ((command.nCmdCode & SenderType::kMask) == SenderType::ProjectData)
        answer.nSenderType = SenderType::Stage;
    // Central control gets only the text, without a code. Of the two senders only the stage sender sends it.
    if (command.nSourceFlags & Source::CentralControl) {
        answer.nSenderType = SenderType::Stage;
        answer.nCmdCode = Command::PlayControl;
    }
    return answer;
}

void CExternalController::NotifyApp(int cmdCode, const QJsonObject& event)
{
    SOperation notice = MakeRequest(cmdCode, event, Source::App);
    if (IMsgSenderBase* sender = FindSender(notice.nSenderType))
        sender->HandleMsg(std::move(notice));
}

/// Notifies the app only that the playing scene has changed; the app then requests the data that it needs.
void CExternalController::slotNotifyScenePlay(const QUuid&, const QUuid&)
{
    NotifyApp(Command::ScenePlay, {{"result", 1}});
}

void CExternalController::slotUpdateResourceUsed(const QUuid& resId, bool bFlag)
{
    NotifyApp(Command::ResourceUsed, {{"resId", resId.toString(QUuid::WithoutBraces)}, {"usedFlag", bFlag}});
}

void CExternalController::slotUpdateResourceDexumerState(const QUuid& resId, bool bFlag)
{
    NotifyApp(Command::ResourceDemuxed, {{"resId", resId.toString(QUuid::WithoutBraces)}, {"dexumerFlag", bFlag}});
}
