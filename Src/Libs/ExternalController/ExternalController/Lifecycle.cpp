#include "ExternalController/ExternalController.h"

#include "ExternalController/Common/CallGate.h"
#include "ExternalController/Common/HostModel.h"
#include "ExternalController/Common/Pause.h"
#include "ExternalController/MsgSender/ExControlDevMsgSender.h"
#include "ExternalController/MsgSender/ProjectDataMsgSender.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/SceneMsgSender.h"
#include "ExternalController/MsgSender/ScreenMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"
#include "Interfaces/AppServer.h"
#include "Interfaces/CentralControl.h"
#include "Interfaces/CloudControl.h"
#include "Interfaces/Common.h"
#include "Interfaces/FPClient.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/ResourceModel.h"

#include <QMetaType>

#include <utility>

// Queued connections of signalStartPushStream need this type in Qt's meta-object system.
Q_DECLARE_METATYPE(std::string)

namespace {

CExternalController* s_controller = nullptr;

} // namespace

void InitExternalController()
{
    if (!s_controller)
        s_controller = new CExternalController;
}

CExternalController* GetExternalController()
{
    return s_controller;
}

void StopExternalController()
{
    if (s_controller)
        s_controller->Stop();
}

void UninitExternalController()
{
    delete std::exchange(s_controller, nullptr);
}

CExternalController::CExternalController()
    : m_heartBeatPause(std::make_unique<CPause>()), m_gate(std::make_shared<CCallGate>())
{
    qRegisterMetaType<std::string>("std::string");
}

CExternalController::~CExternalController()
{
    m_gate->Close();
    m_appConnected = false;
    m_heartBeatPause->Wake();
    m_heartBeatTimer.reset();
    for (const auto& [senderType, sender] : m_senders) {
        if (senderType != SenderType::StageMedia) // second key of the stage sender
            delete sender;
    }
    m_senders.clear();
    m_appServer.reset();
    m_fpClient.reset();
    m_centralCtrl.reset();
    m_cloudCtrl.reset();
}

template <class... Args>
std::function<void(Args...)> CExternalController::Gated(void (CExternalController::*receive)(Args...))
{
    return [this, receive, gate = m_gate](Args... args) {
        gate->Through([&] { (this->*receive)(std::forward<Args>(args)...); });
    };
}

void CExternalController::Init()
{
    const auto setting = GetModel(&CGlobalModel::GetSoftwareSetting);

    m_appServer = std::make_shared<CAPPServerManager>();
    if (ReadFrom(setting, &CZXSoftwareSettingData::GetAppSupport))
        StartAppServer();

    m_fpClient = std::make_shared<CFPClientManager>();
    m_fpClient->SetCallBackFunc(Gated(&CExternalController::RecvFPTcpMsg));
    m_fpClient->InitServer();

    m_centralCtrl = std::make_shared<CCentralControllerManager>();
    m_centralCtrl->SetCallBackFunc(Gated(&CExternalController::RecvContralControllerUdpMsg));
    m_centralCtrl->InitServer();

    m_cloudCtrl = std::make_shared<CCloudControlManager>();
    m_cloudCtrl->SetCloudControlMsgCallBack(Gated(&CExternalController::RecvCloudControlMsg));
    if (ReadFrom(setting, &CZXSoftwareSettingData::GetCloudSupport)) {
        m_cloudCtrl->InitInstance();
        CloudControlConnect();
    }

    CreateMsgSenders();
    CreateConnection();
}

void CExternalController::StartAppServer()
{
    m_heartBeatStopped = false;
    m_appServer->SetCallBackFunc(Gated(&CExternalController::RecvAPPTcpMsg), Gated(&CExternalController::RecvAPPUdpMsg),
                                 Gated(&CExternalController::RecvAPPFtpUploadEndMsg));
    m_appServer->SetConnectedFuc(Gated(&CExternalController::OnNewClientConnect));
    m_appServer->InitServer();
}

void CExternalController::CreateMsgSenders()
{
    CAPPServerManager* app = m_appServer.get();
    IFPClientManager* fp = m_fpClient.get();
    CCentralControllerManager* central = m_centralCtrl.get();
    ICloudControlManager* cloud = m_cloudCtrl.get();

    IMsgSenderBase* const senders[] = {
        new CProjectDataMsgSender(app, fp, central, cloud), new CResourceMsgSender(app, nullptr, nullptr, cloud),
        new CSceneMsgSender(app, fp, central, cloud),       new CScreenMsgSender(app, nullptr, nullptr, cloud),
        new CStageMsgSender(app, fp, central, cloud),       new CExControlDevMsgSender,
    };
    for (IMsgSenderBase* sender : senders)
        m_senders[sender->GetSenderType()] = sender;
    m_senders[SenderType::StageMedia] = m_senders[SenderType::Stage];
    m_sendersReady.store(true, std::memory_order_release);
}

void CExternalController::CreateConnection()
{
    if (CPlayController* player = GetPlayController()) {
        connect(player, &CPlayController::signalSceneStartExControl, this,
                &CExternalController::slotSceneStartExControlCmd);
        connect(player, &CPlayController::signalSceneEndExControl, this,
                &CExternalController::slotSceneEndExControlCmd);
        connect(player, &CPlayController::signalExControlNotifySceneChanged, this,
                &CExternalController::slotNotifyScenePlay);
    }
    if (CResourceModel* resources = CResourceModel::GetInstance()) {
        connect(resources, &CResourceModel::signalExControlResourceUsedChanged, this,
                &CExternalController::slotUpdateResourceUsed);
        connect(resources, &CResourceModel::signalExControlResourceDexumerStateChanged, this,
                &CExternalController::slotUpdateResourceDexumerState);
    }
}

void CExternalController::Stop()
{
    StopHeartBeat();
    if (m_appServer)
        m_appServer->Stop();
}

void CExternalController::AppServerSupport(bool on)
{
    if (on) {
        StartAppServer();
        return;
    }
    StopHeartBeat();
    m_appServer->UninitServer();
}

void CExternalController::ModifyAppResSavePath(const QString& path)
{
    if (m_appServer)
        m_appServer->ModifyAppResSavePath(path);
}

void CExternalController::ModifyAppSharedPath(const QString& path)
{
    if (IMsgSenderBase* sender = FindSender(SenderType::Resource))
        sender->ModifyAppSharedPath(path);
}

void CExternalController::SetPrjLoadState(int state)
{
    m_prjLoadState = state;
}
