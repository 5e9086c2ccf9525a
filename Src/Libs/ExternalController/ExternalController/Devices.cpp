#include "ExternalController/ExternalController.h"

#include "ExternalController/MsgSender/IMsgSenderBase.h"

void CExternalController::CreateExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindSender(SenderType::ExControlDev))
        devices->CreateExControlDev(devId);
}

void CExternalController::UpdateExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindSender(SenderType::ExControlDev))
        devices->UpdateExControlDev(devId);
}

void CExternalController::DelExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindSender(SenderType::ExControlDev))
        devices->DelExControlDev(devId);
}

void CExternalController::slotSceneStartExControlCmd(const QUuid&, const QUuid&) {}

void CExternalController::slotSceneEndExControlCmd(const QUuid&, const QUuid&) {}
