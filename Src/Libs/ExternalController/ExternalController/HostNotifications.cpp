#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"

#include <QJsonObject>

#include <utility>

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
