#include "HostModels/HostModels.h"

#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"

#include <utility>

namespace {

class CHostGlobalModel : public CGlobalModel {
public:
    std::shared_ptr<CZXSoftwareSettingData> GetSoftwareSetting() override { return m_setting; }
    std::shared_ptr<CAPPUserModel> GetAPPUserModel() override { return m_users; }
    QString GetAppFormatName() override { return QStringLiteral("Zentravox XA 2.0"); }

    CHostSoftwareSetting& Setting() { return *m_setting; }
    CHostUserModel& Users() { return *m_users; }

private:
    const std::shared_ptr<CHostSoftwareSetting> m_setting = std::make_shared<CHostSoftwareSetting>();
    const std::shared_ptr<CHostUserModel> m_users = std::make_shared<CHostUserModel>();
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
    return &GlobalModel();
}

CResultModel* CResultModel::GetInstance()
{
    return &ResultModel();
}

CPlayController* GetPlayController()
{
    static CPlayController controller;
    return &controller;
}

CResourceModel* CResourceModel::GetInstance()
{
    static CResourceModel model;
    return &model;
}

CHostSoftwareSetting& HostModels::SoftwareSetting()
{
    return GlobalModel().Setting();
}

CHostUserModel& HostModels::UserModel()
{
    return GlobalModel().Users();
}

void HostModels::SetResultHandler(std::function<void(const SResultData&)> handler)
{
    ResultModel().handler = std::move(handler);
}
