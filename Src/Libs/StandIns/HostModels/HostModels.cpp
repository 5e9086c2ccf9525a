#include "HostModels/HostModels.h"

#include <utility>

namespace {

class CHostProject : public CZXProject {
public:
    QUuid GetId() override { return Project() ? Project()->id : QUuid(); }
    QString GetProjectName() override { return Project() ? Project()->name : QString(); }
    int GetAppCtrlMode() override { return Project() ? Project()->appControlMode : 0; }

    std::vector<SProjectMgrNode> GetProjectMgrList() override
    {
        std::vector<SProjectMgrNode> nodes;
        for (const auto& project : CHostShow::GetInstance().Reading().projects)
            nodes.push_back({project->name, project->id});
        return nodes;
    }

private:
    static const SProject* Project() { return CHostShow::GetInstance().Reading().Project(); }
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
    QString GetAppFormatName() override { return QStringLiteral("Zentravox XA 2.0"); }

    CHostSoftwareSetting& Setting() { return *m_setting; }
    CHostUserModel& Users() { return *m_users; }

private:
    const std::shared_ptr<CHostSoftwareSetting> m_setting = std::make_shared<CHostSoftwareSetting>();
    const std::shared_ptr<CHostUserModel> m_users = std::make_shared<CHostUserModel>();
    const std::shared_ptr<CHostProjectSetting> m_projectSetting = std::make_shared<CHostProjectSetting>();
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

CHostShow& HostModels::Show()
{
    return CHostShow::GetInstance();
}

void HostModels::SetResultHandler(std::function<void(const SResultData&)> handler)
{
    ResultModel().handler = std::move(handler);
}
