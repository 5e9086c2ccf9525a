#include "HostModels/Models/HostGlobalModel.h"

#include "HostModels/Models/HostPerformanceModel.h"
#include "HostModels/Models/HostProject.h"
#include "Interfaces/ProgramScheduleModel.h"

#include <QCoreApplication>

namespace {

/// This host has no program schedule.
class CHostProgramScheduleModel : public CProgramScheduleModel {
public:
    QJsonObject SaveScheduleData() override { return {}; }
};

} // namespace

CHostGlobalModel::CHostGlobalModel()
    : m_setting(std::make_shared<CHostSoftwareSetting>())
    , m_users(std::make_shared<CHostUserModel>())
    , m_projectSetting(std::make_shared<CHostProjectSetting>())
    , m_project(std::make_shared<CHostProject>())
    , m_performance(std::make_shared<CHostPerformanceModel>())
    , m_log(std::make_shared<CShowLog>())
    , m_schedule(std::make_shared<CHostProgramScheduleModel>())
{}

CHostGlobalModel& CHostGlobalModel::GetInstance()
{
    static CHostGlobalModel model;
    return model;
}

CGlobalModel* CGlobalModel::GetInstance()
{
    return &CHostGlobalModel::GetInstance();
}

QString CHostGlobalModel::GetAppVersion()
{
    return QCoreApplication::applicationVersion();
}

QString CHostGlobalModel::GetAppFormatName()
{
    return QStringLiteral("Zentravox XA 2.0");
}
