#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"
#include "Interfaces/SceneMgrModel.h"

#include <QThread>

#include <vector>

IMsgSenderBase* CExternalController::FindDeviceSender() const
{
    Q_ASSERT_X(QThread::currentThread() == thread(), "CExternalController",
               "use devices on the controller's thread only: their channels are not locked");
    return FindSender(SenderType::ExControlDev);
}

void CExternalController::CreateExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindDeviceSender())
        devices->CreateExControlDev(devId);
}

void CExternalController::UpdateExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindDeviceSender())
        devices->UpdateExControlDev(devId);
}

void CExternalController::DelExControlDev(const QUuid& devId)
{
    if (IMsgSenderBase* devices = FindDeviceSender())
        devices->DelExControlDev(devId);
}

void CExternalController::slotSceneStartExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId)
{
    SendSceneCommands(sceneGroupId, sceneId, SceneTrigger::Start);
}

void CExternalController::slotSceneEndExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId)
{
    SendSceneCommands(sceneGroupId, sceneId, SceneTrigger::End);
}

void CExternalController::SendSceneCommands(const QUuid& sceneGroupId, const QUuid& sceneId, int trigger)
{
    IMsgSenderBase* devices = FindDeviceSender();
    if (!devices)
        return;
    std::vector<SSceneExControlCmd> commands;
    ReadFrom(CSceneMgrModel::GetInstance(), &CSceneMgrModel::GetSceneNode, sceneGroupId, sceneId)
        .GetAllExControlCmd(commands);
    for (const SSceneExControlCmd& command : commands) {
        if (command.nTriggerType == trigger)
            devices->SendExControlCmd(command.devId, command.cmdId);
    }
}
