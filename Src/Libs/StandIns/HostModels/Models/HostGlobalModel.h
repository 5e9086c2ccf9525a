#pragma once

#include "HostModels/Models/HostSoftwareSetting.h"
#include "HostModels/Models/HostUserModel.h"
#include "Interfaces/GlobalModel.h"
#include "Log/ShowLog.h"

#include <memory>

/// Gives access to the models that don't belong to a show. Any thread.
class CHostGlobalModel : public CGlobalModel {
public:
    static CHostGlobalModel& GetInstance();

    std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() override { return m_setting; }
    std::shared_ptr<CAPPUserModel> GetAPPUserModel() override { return m_users; }
    std::shared_ptr<CZXProjectSettingData> GetProjectSetting() override { return m_projectSetting; }
    std::shared_ptr<CZXProject> GetZXProject() override { return m_project; }
    std::shared_ptr<CPerformanceModel> GetPerformanceModel() override { return m_performance; }
    std::shared_ptr<CLogModel> GetLogModel() override { return m_log; }
    std::shared_ptr<CProgramScheduleModel> GetNorProgramScheduleModel() override { return m_schedule; }
    std::shared_ptr<CProgramScheduleModel> GetInsProgramScheduleModel() override { return m_schedule; }
    QString GetAppVersion() override;
    QString GetAppFormatName() override;

    CHostSoftwareSetting& Setting() { return *m_setting; }
    CHostUserModel& Users() { return *m_users; }
    CShowLog& Log() { return *m_log; }

private:
    CHostGlobalModel();

    const std::shared_ptr<CHostSoftwareSetting> m_setting;
    const std::shared_ptr<CHostUserModel> m_users;
    const std::shared_ptr<CZXProjectSettingData> m_projectSetting;
    const std::shared_ptr<CZXProject> m_project;
    const std::shared_ptr<CPerformanceModel> m_performance;
    const std::shared_ptr<CShowLog> m_log;
    const std::shared_ptr<CProgramScheduleModel> m_schedule;
};
