#include "HostModels/HostModels.h"

#include "HostModels/PerformanceModel.h"
#include "Interfaces/ProgramScheduleModel.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <utility>

namespace {

class CHostProject : public CZXProject {
public:
    QUuid GetId() override { return Project() ? Project()->id : QUuid(); }
    QString GetProjectPath() override { return Project() ? PathOf(*Project()) : QString(); }
    QString GetProjectName() override { return Project() ? Project()->name : QString(); }
    int GetAppCtrlMode() override { return Project() ? Project()->appControlMode : 0; }

    std::vector<SProjectMgrNode> GetProjectMgrList() override
    {
        std::vector<SProjectMgrNode> nodes;
        for (const auto& project : CHostShow::GetInstance().Reading().projects)
            nodes.push_back({PathOf(*project), project->name, project->id});
        return nodes;
    }

private:
    static const SProject* Project() { return CHostShow::GetInstance().Reading().Project(); }

    /// As if each project of the show had a file of its own beside the show's. Empty for a show that has none.
    static QString PathOf(const SProject& project)
    {
        const QString& show = CHostShow::GetInstance().Reading().file;
        return show.isEmpty() ? show : QFileInfo(show).absoluteDir().filePath(project.name + ".zxc");
    }
};

/// This host plays nothing at set times.
class CEmptySchedule : public CProgramScheduleModel {
public:
    QJsonObject SaveScheduleData() override { return {}; }
};

class CHostProjectSetting : public CZXProjectSettingData {
public:
    std::pair<bool, int> LoadHDRSetting() override
    {
        const SProject* project = CHostShow::GetInstance().Reading().Project();
        return project ? std::pair(project->hdr, project->hdrKind) : std::pair(false, 0);
    }

    QString LoadStageZoomRatio() override
    {
        const SProject* project = CHostShow::GetInstance().Reading().Project();
        return project ? project->stageZoomRatio : QString();
    }
};

class CHostGlobalModel : public CGlobalModel {
public:
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
    const std::shared_ptr<CHostSoftwareSetting> m_setting = std::make_shared<CHostSoftwareSetting>();
    const std::shared_ptr<CHostUserModel> m_users = std::make_shared<CHostUserModel>();
    const std::shared_ptr<CHostProjectSetting> m_projectSetting = std::make_shared<CHostProjectSetting>();
    const std::shared_ptr<CPerformanceModel> m_performance = std::make_shared<CHostPerformanceModel>();
    const std::shared_ptr<CShowLog> m_log = std::make_shared<CShowLog>();
    const std::shared_ptr<CProgramScheduleModel> m_schedule = std::make_shared<CEmptySchedule>();
    const std::shared_ptr<CHostProject> m_project = std::make_shared<CHostProject>();
};

class CHostResultModel : public CResultModel {
public:
    void NotifyExControlMsgResult(bool, SResultData& result) override
    {
        if (handler)
            handler(result);
    }

    std::function<void(const SResultData&)> handler;
};

CHostGlobalModel& GlobalModel()
{
    static CHostGlobalModel model;
    return model;
}

CHostResultModel& ResultModel()
{
    static CHostResultModel model;
    return model;
}

} // namespace

CGlobalModel* CGlobalModel::GetInstance()
{
    CHostShow::GetInstance().BeginReading();
    return &GlobalModel();
}

CExControlDevModel* CExControlDevModel::GetInstance()
{
    return &HostModels::Devices();
}

CResultModel* CResultModel::GetInstance()
{
    return &ResultModel();
}

CHostSoftwareSetting& HostModels::SoftwareSetting()
{
    return GlobalModel().Setting();
}

CHostUserModel& HostModels::UserModel()
{
    return GlobalModel().Users();
}

CShowLog& HostModels::ShowLog()
{
    return GlobalModel().Log();
}

CHostShow& HostModels::Show()
{
    return CHostShow::GetInstance();
}

CHostExControlDevModel& HostModels::Devices()
{
    static CHostExControlDevModel model;
    return model;
}

void HostModels::SetResultHandler(std::function<void(const SResultData&)> handler)
{
    ResultModel().handler = std::move(handler);
}
