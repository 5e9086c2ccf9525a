#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/Pause.h"
#include "ExternalController/MsgSender/IMsgSenderBase.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/Common.h"
#include "Interfaces/GlobalModel.h"
#include "Interfaces/ResultModel.h"

#include <chrono>

namespace {

/// An app sends a heartbeat a second; after this many without one it is taken for dead.
constexpr int kSilentSeconds = 5;
constexpr std::chrono::milliseconds kCheckPeriod(1000);

} // namespace

CExternalController::SAppAddress CExternalController::LastApp() const
{
    const std::lock_guard lock(m_mutex);
    return {m_lastAppIp, m_lastAppPort};
}

void CExternalController::OnNewClientConnect(std::string, unsigned short)
{
    m_appConnected = true;
}

void CExternalController::StartHeartBeat()
{
    CTimer* timer = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_heartBeatTimer) {
            m_heartBeatTimer =
                std::make_unique<CTimer>([this] { AppHeartBeatCheck(); }, static_cast<double>(kCheckPeriod.count()));
        }
        timer = m_heartBeatTimer.get();
    }
    timer->Start();
}

void CExternalController::StopHeartBeat()
{
    m_appConnected = false;
    m_heartBeatPause->Wake();
    CTimer* timer = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        timer = m_heartBeatTimer.get();
    }
    // Not under the lock: the check that Stop waits for takes it.
    if (timer)
        timer->Stop();
}

void CExternalController::AppHeartBeatCheck()
{
    while (m_appConnected) {
        if (m_heartBeatCount > kSilentSeconds) {
            DebugLog() << "heartBeat timeOut";
            const SAppAddress app = LastApp();
            m_appServer->DisConnect(app.ip, app.port);
        }
        ++m_heartBeatCount;
        m_heartBeatPause->WaitFor(kCheckPeriod, [this] { return !m_appConnected; });
    }
    m_heartBeatCount = 1;
}

void CExternalController::OnAppClientDisconnect()
{
    m_appConnected = false;
    m_heartBeatPause->Wake();
    DebugLog() << "APP is disConnected !";

    {
        const std::lock_guard login(m_loginMutex);
        const auto users = CGlobalModel::GetInstance()->GetAPPUserModel();
        if (!users->GetLoginState())
            return;
        users->SetLoginState(false);
        users->SetConnectState(false);
        users->SetCurrentLoginUser({});
    }
    emit signalStopAppStreamPush();
    ReportToHost({SenderType::ProjectData, Command::AppGone, false, {}, 0});
}
