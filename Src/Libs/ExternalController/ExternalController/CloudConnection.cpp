#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/RsaCipher.h"
#include "Interfaces/CloudControl.h"

namespace {

void CloseLink(CCloudControlManager& cloud)
{
    if (cloud.IsConnected())
        cloud.Close();
}

} // namespace

void CExternalController::CloudControlConnect()
{
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);
    if (!m_cloudCtrl || !setting)
        return;
    if (!setting->GetCloudSupport()) {
        CloseLink(*m_cloudCtrl);
        setting->SetCloudConnected(false);
        return;
    }
    m_cloudCtrl->InitInstance();
    QString first;
    QString second;
    QString password;
    setting->GetCloudLoginData(first, second, password);
    if (first.isEmpty() || second.isEmpty() || password.isEmpty()) {
        CloseLink(*m_cloudCtrl);
        setting->SetCloudConnected(false);
        return;
    }
    m_cloudCtrl->Connect({first, second, QString::fromStdString(DecryptPassword(password.toStdString()))});
    setting->SetCloudConnected(true);
}

void CExternalController::CloudControlLogin(const QString& first, const QString& second, const QString& password)
{
    if (m_cloudCtrl)
        m_cloudCtrl->ValidateLogin({first, second, password});
}
