#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/DebugLog.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Pause.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/Common.h"

#include <chrono>
#include <thread>

namespace {

/// An app sends one heartbeat per second. After this many seconds without one its connection is closed.
constexpr int kSilentSeconds = 5;
constexpr std::chrono::milliseconds kCheckPeriod(1000);

} // namespace

CExternalController::SAppAddress CExternalController::LastApp() const
{
    const std::lock_guard lock(m_mutex);
    return {m_lastAppIp, m_lastAppPort};
}

std::optional<CExternalController::SAppAddress> CExternalController::SilentApp() const
{
    // Read the count and the address under one lock: otherwise the count of the previous app could be combined with the
    // address of an app that has just logged in.
    const std::lock_guard lock(m_mutex);
    if (!m_appLoggedIn || m_heartBeatCount <= kSilentSeconds)
        return std::nullopt;
    return SAppAddress{m_lastAppIp, m_lastAppPort};
}

void CExternalController::OnNewClientConnect(std::string, unsigned short)
{
    m_appConnected = true;
}

void CExternalController::StartHeartBeat(const SAppAddress& app)
{
    {
        const std::lock_guard lock(m_mutex);
        m_lastAppIp = app.ip;
        m_lastAppPort = app.port;
        m_heartBeatCount = 1;
        m_appLoggedIn = true;
    }
    // Don't block on the mutex: StopHeartBeat holds it until the check has ended, and the check may wait in DisConnect
    // for a callback that waits for this login.
    std::unique_lock lock(m_heartBeatMutex, std::defer_lock);
    while (!m_heartBeatStopped && !lock.try_lock())
        std::this_thread::yield();
    if (m_heartBeatStopped)
        return;
    // A connection that closed just before this login may have cleared the flag.
    m_appConnected = true;
    if (!m_heartBeatTimer) {
        m_heartBeatTimer =
            std::make_unique<CTimer>([this] { AppHeartBeatCheck(); }, static_cast<double>(kCheckPeriod.count()));
    }
    m_heartBeatTimer->Start();
}

void CExternalController::StopHeartBeat()
{
    // Set before locking: a concurrent login then returns instead of waiting for the mutex.
    m_heartBeatStopped = true;
    const std::lock_guard lock(m_heartBeatMutex);
    m_appConnected = false;
    m_heartBeatPause->Wake();
    if (m_heartBeatTimer)
        m_heartBeatTimer->Stop();
}

void CExternalController::AppHeartBeatCheck()
{
    const auto isOver = [this] { return !m_appConnected || m_heartBeatStopped; };
    while (!isOver()) {
        if (const auto app = SilentApp()) {
            DebugLog() << "heartBeat timeOut";
            m_appServer->DisConnect(app->ip, app->port);
        }
        ++m_heartBeatCount;
        m_heartBeatPause->WaitFor(kCheckPeriod, isOver);
    }
    m_heartBeatCount = 1;
}

void CExternalController::OnAppConnectionClosed(const std::string& remoteIp)
{
    // Compare the address with the mutex locked: a displaced app often closes its connection while the next app logs
    // in.
    const std::lock_guard login(m_loginMutex);
    const std::string lastIp = LastApp().ip;
    DebugLog() << "remoteIp" << remoteIp.c_str() << "last ip" << lastIp.c_str();
    if (remoteIp == lastIp)
        OnAppClientDisconnect();
}

/// The caller has locked m_loginMutex.
void CExternalController::OnAppClientDisconnect()
{
    m_appConnected = false;
    {
        const std::lock_guard lock(m_mutex);
        m_appLoggedIn = false;
    }
    m_heartBeatPause->Wake();
    DebugLog() << "APP is disConnected !";

    const auto users = GetModel(&CGlobalModel::GetAPPUserModel);
    if (!users || !users->GetLoginState())
        return;
    users->SetLoginState(false);
    users->SetConnectState(false);
    users->SetCurrentLoginUser({});
    emit signalStopAppStreamPush();
    ReportToHost(MakeRequest(Command::AppGone, {}, 0));
}
