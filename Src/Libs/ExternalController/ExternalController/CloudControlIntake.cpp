#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Routes.h"
#include "ExternalController/Common/RsaCipher.h"
#include "Interfaces/CloudControl.h"
#include "Interfaces/CltLog.h"

#include <QJsonObject>

#include <functional>
#include <thread>

namespace {

constexpr int kProjectLoaded = 1;
/// The kind of log events that concern the whole program.
constexpr int kGlobalLogKind = 4;

void CloseLink(CCloudControlManager& cloud)
{
    if (cloud.IsConnected())
        cloud.Close();
}

void LogRestart()
{
    const std::shared_ptr<CltLog::CLogger> logger = CltLog::GetOperationLogger();
    if (!logger || logger->GetLevel() > CltLog::Operation)
        return;
    const auto thread = static_cast<std::uint32_t>(std::hash<std::thread::id>()(std::this_thread::get_id()));
    CltLog::CLogEventWrap wrap(std::make_shared<CltLog::CLogEvent>(
        logger, CltLog::Operation, kGlobalLogKind, nullptr, __LINE__, thread, std::time(nullptr),
        QObject::tr("Log_Global").toStdString(), QObject::tr("Log_SoftwareRestart").toStdString()));
    wrap.GetEvent().Format("%s", "");
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

void CExternalController::RecvCloudControlMsg(QJsonObject& message)
{
    if (message.isEmpty())
        return;
    const int code = message.value(QLatin1String("cmdType")).toInt();
    const SOperation request = MakeRequest(code, message, Source::CloudControl);
    switch (code) {
    case Command::Restart:
        LogRestart();
        emit signalRestartSoftware();
        break;
    case Command::Refresh:
        Write(MakeRequest(Command::SystemInformation, message, Source::CloudControl));
        Write(MakeRequest(Command::StagePreviewPush, message, Source::CloudControl));
        break;
    case Command::SwitchProject:
    case Command::ScenePlay:
        // Ignored while a project is loading: its scenes can't be played yet.
        if (m_prjLoadState == kProjectLoaded)
            ReportToHost(request);
        break;
    default:
        if (AnswererOf(code, Source::CloudControl) == Answerer::Sender)
            Write(request);
        else
            ReportToHost(request);
    }
}
