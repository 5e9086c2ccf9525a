#pragma once

#include "Interfaces/GlobalModel.h"

/// The open project of the show that the calling thread reads (CShowReading). Values are empty while no project is
/// open.
class CHostProject : public CZXProject {
public:
    QUuid GetId() override;
    QString GetProjectPath() override;
    QString GetProjectName() override;
    int GetAppCtrlMode() override;
    std::vector<SProjectMgrNode> GetProjectMgrList() override;
};

/// The settings of the open project.
class CHostProjectSetting : public CZXProjectSettingData {
public:
    std::pair<bool, int> LoadHDRSetting() override;
    QString LoadStageZoomRatio() override;
};
