#pragma once

#include "Interfaces/GlobalModel.h"

/// The open project of the calling thread's reading of the show; empty values while no project is open.
class CHostProject : public CZXProject {
public:
    QUuid GetId() override;
    QString GetProjectPath() override;
    QString GetProjectName() override;
    int GetAppCtrlMode() override;
    std::vector<SProjectMgrNode> GetProjectMgrList() override;
};

/// That project's settings.
class CHostProjectSetting : public CZXProjectSettingData {
public:
    std::pair<bool, int> LoadHDRSetting() override;
    QString LoadStageZoomRatio() override;
};
