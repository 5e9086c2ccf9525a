#include "HostModels/HostModels.h"
#include "HostModels/Models/HostPerformanceModel.h"
#include "HostModels/Models/HostProject.h"
#include "Interfaces/GlobalModel.h"
#include "Interfaces/ProgramScheduleModel.h"

#include <QCoreApplication>

#include <memory>

namespace {

/// This host has no program schedule.
class CHostProgramScheduleModel : public CProgramScheduleModel {
public:
    QJsonObject SaveScheduleData() override { return {}; }
};

/// Gives access to the models that don't belong to a show. Any thread.
class CHostGlobalModel : public CGlobalModel {
public:
    static CHostGlobalModel& GetInstance()
    {
        static CHostGlobalModel model;
        return model;
    }

    std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() override { return m_setting; }
    std::shared_ptr<CAPPUserModel> GetAPPUserModel() override { return m_users; }
    std::shared_ptr<CZXProjectSettingData> GetProjectSetting() override { return m_projectSetting; }
    std::shared_ptr<CZXProject> GetZXProject() override { return m_project; }
    std::shared_ptr<CPerformanceModel> GetPerformanceModel() override { return m_performance; }
    std::shared_ptr<CLogModel> GetLogModel() override { return m_log; }
    std::shared_ptr<CProgramScheduleModel> GetNorProgramScheduleModel() override { return m_schedule; }
    std::shared_ptr<CProgramScheduleModel> GetInsProgramScheduleModel() override { return m_schedule; }
    QString GetAppVersion() override { return QCoreApplication::applicationVersion(); }
    QString GetAppFormatName() override { return QStringLiteral("Zentravox XA 2.0"); }

    CHostSoftwareSetting& Setting() { return *m_setting; }
    CHostUserModel& Users() { return *m_users; }
    CShowLog& Log() { return *m_log; }

private:
    CHostGlobalModel() = default;

    const std::shared_ptr<CHostSoftwareSetting> m_setting = std::make_shared<CHostSoftwareSetting>();
    const std::shared_ptr<CHostUserModel> m_users = std::make_shared<CHostUserModel>();
    const std::shared_ptr<CZXProjectSettingData> m_projectSetting = std::make_shared<CHostProjectSetting>();
    const std::shared_ptr<CZXProject> m_project = std::make_shared<CHostProject>();
    const std::shared_ptr<CPerformanceModel> m_performance = std::make_shared<CHostPerformanceModel>();
    const std::shared_ptr<CShowLog> m_log = std::make_shared<CShowLog>();
    const std::shared_ptr<CProgramScheduleModel> m_schedule = std::make_shared<CHostProgramScheduleModel>();
};

} // namespace

CGlobalModel* CGlobalModel::GetInstance()
{
    return &CHostGlobalModel::GetInstance();
}

CHostSoftwareSetting& HostModels::SoftwareSetting()
{
    return CHostGlobalModel::GetInstance().Setting();
}

CHostUserModel& HostModels::UserModel()
{
    return CHostGlobalModel::GetInstance().Users();
}

CShowLog& HostModels::ShowLog()
{
    return CHostGlobalModel::GetInstance().Log();
}
