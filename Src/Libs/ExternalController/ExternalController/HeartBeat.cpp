#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Pause.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/Common.h"

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
    const std::lock_guard lock(m_heartBeatMutex);
    if (!m_heartBeatTimer) {
        m_heartBeatTimer =
            std::make_unique<CTimer>([this] { AppHeartBeatCheck(); }, static_cast<double>(kCheckPeriod.count()));
    }
    m_heartBeatStopped = false;
    m_heartBeatTimer->Start();
}

void CExternalController::StopHeartBeat()
{
    const std::lock_guard lock(m_heartBeatMutex);
    m_appConnected = false;
    // An app that connects now must not keep the check going that Stop waits for.
    m_heartBeatStopped = true;
    m_heartBeatPause->Wake();
    if (m_heartBeatTimer)
        m_heartBeatTimer->Stop();
}

void CExternalController::AppHeartBeatCheck()
{
    const auto isOver = [this] { return !m_appConnected || m_heartBeatStopped; };
    while (!isOver()) {
        if (m_heartBeatCount > kSilentSeconds) {
            DebugLog() << "heartBeat timeOut";
            const SAppAddress app = LastApp();
            m_appServer->DisConnect(app.ip, app.port);
        }
        ++m_heartBeatCount;
        m_heartBeatPause->WaitFor(kCheckPeriod, isOver);
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
        const auto users = GetModel(&CGlobalModel::GetAPPUserModel);
        if (!users || !users->GetLoginState())
            return;
        users->SetLoginState(false);
        users->SetConnectState(false);
        users->SetCurrentLoginUser({});
    }
    emit signalStopAppStreamPush();
    ReportToHost(MakeRequest(Command::AppGone, {}, 0));
}
