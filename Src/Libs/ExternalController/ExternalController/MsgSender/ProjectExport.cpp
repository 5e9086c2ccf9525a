#include "ExternalController/MsgSender/CloudReplies.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Vocabulary.h"
#include "ExternalController/MsgSender/CloudPicture.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ProgramScheduleModel.h"
#include "Interfaces/ResourceModel.h"
#include "Interfaces/SceneMgrModel.h"
#include "Interfaces/ScreenModel.h"

#include <QCoreApplication>

namespace {

constexpr char kAppName[] = "Zentravox XA Basic";

template <class Send>
void SendPicture(const Send& send, const char* type, const QUuid& id, const QPixmap& picture)
{
    if (!picture.isNull())
        send(CloudPicture(type, id.toString(QUuid::WithoutBraces), picture));
}

} // namespace

void ExportProject(const std::function<void(const std::string&)>& sendPicture,
                   const std::function<void(const std::string&)>& sendProject)
{
    const auto project = GetModel(&CGlobalModel::GetZXProject);
    const QString path = ToWindowsSeparators(ReadFrom(project, &CZXProject::GetProjectPath));
    if (path.isEmpty())
        return;

    CResourceModel* resources = CResourceModel::GetInstance();
    for (const CResourceBase& resource : ReadFrom(resources, &CResourceModel::GetAllResNode, false, kEveryResourceType))
        SendPicture(sendPicture, "clip", resource.GetId(), resource.GetThumbnail());
    CSceneMgrModel* scenes = CSceneMgrModel::GetInstance();
    for (const QUuid& groupId : ReadFrom(scenes, &CSceneMgrModel::GetAllSceneGroupId)) {
        for (const QUuid& sceneId : scenes->GetGroupSceneId(groupId))
            SendPicture(sendPicture, "chapter", sceneId, scenes->GetSceneImage(groupId, sceneId));
    }

    const CReply app = {{"App Name", kAppName}, {"App Version", QCoreApplication::applicationVersion()}};
    const auto normal = GetModel(&CGlobalModel::GetNorProgramScheduleModel);
    const auto inserted = GetModel(&CGlobalModel::GetInsProgramScheduleModel);
    const CReply content = {{"Project_Data", app},
                            {"ScreenData", ReadFrom(CScreenModel::GetInstance(), &CScreenModel::SaveData)},
                            {"NormalProgramScheduleData", ReadFrom(normal, &CProgramScheduleModel::SaveScheduleData)},
                            {"InsertProgramScheduleData", ReadFrom(inserted, &CProgramScheduleModel::SaveScheduleData)},
                            {"StageSceneData", ReadFrom(GetPlayController(), &CPlayController::SaveStageData)},
                            {"SceneMgrModel", ReadFrom(scenes, &CSceneMgrModel::SaveSceneMgrModel, QString())},
                            {"ResourceModel", ReadFrom(resources, &CResourceModel::SaveResourceModel, false, false)}};
    const CReply message = {{"curProjectPath", path},
                            {"curProjectName", project->GetProjectName()},
                            {"type", kEditionName},
                            {"content", QString::fromUtf8(content.Text())}};
    sendProject(message.Text().toStdString());
}
