#include "HostModels/HostModels.h"

#include "HostModels/Models/HostGlobalModel.h"

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

CHostShow& HostModels::Show()
{
    return CHostShow::GetInstance();
}
