#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"

#include <QJsonObject>

void CExternalController::NotifyApp(int senderType, int cmdCode, const QJsonObject& event)
{
    if (IMsgSenderBase* sender = FindSender(senderType))
        sender->HandleMsg({senderType, cmdCode, event, Source::App});
}

/// The app only learns that the playing scene changed; it asks for what it needs.
void CExternalController::slotNotifyScenePlay(const QUuid&, const QUuid&)
{
    NotifyApp(SenderType::Scene, Command::ScenePlay, {{"result", 1}});
}

void CExternalController::slotUpdateResourceUsed(const QUuid& resId, bool bFlag)
{
    NotifyApp(SenderType::Resource, Command::ResourceUsed,
              {{"resId", resId.toString(QUuid::WithoutBraces)}, {"usedFlag", bFlag}});
}

void CExternalController::slotUpdateResourceDexumerState(const QUuid& resId, bool bFlag)
{
    NotifyApp(SenderType::Resource, Command::ResourceDemuxed,
              {{"resId", resId.toString(QUuid::WithoutBraces)}, {"dexumerFlag", bFlag}});
}
