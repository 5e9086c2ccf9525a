#pragma once

#include "ExternalController/Common/Operation.h"
#include "ExternalController/Export.h"

#include <QObject>
#include <QUuid>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

class CCallGate;
class CAPPServerManager;
class CCentralControllerManager;
class CCloudControlManager;
class CFPClientManager;
class CTimer;
class IMsgSenderBase;
class IPause;
struct SResultData;

namespace Comm {
struct ResponsePackage;
}
namespace ResultText {
enum Index : int;
}

/// The module's one object: owns the channels to the remote controllers and the senders that answer them.
///
/// The host's order is InitExternalController, Init, use, StopExternalController, UninitExternalController, all on one
/// thread, which is also the thread of its slots. Write may be called from any thread; requests from the channels
/// arrive on the channels' threads, and a signal is emitted on the thread of the request that caused it. The signals of
/// logins and logouts come one at a time, in their order. No operation throws.
class EXTERNALCONTROLLER_EXPORT CExternalController : public QObject {
    Q_OBJECT

public:
    CExternalController();
    /// With a pause of the caller's between two checks of the app's heartbeat.
    explicit CExternalController(std::unique_ptr<IPause> heartBeatPause);
    ~CExternalController() override;

    /// Creates the channels, starts those that the software settings switch on, and connects the host's signals.
    void Init();
    /// Stops the app server and its supervision. Not to be called from a channel's callback.
    void Stop();
    void CreateConnection();
    /// Switches the app server on or off at run time, once Init has run. Not to be called from a channel's callback.
    void AppServerSupport(bool on);
    /// Later FTP uploads go below this folder.
    void ModifyAppResSavePath(const QString& path);
    /// The shared folder that the app can list.
    void ModifyAppSharedPath(const QString& path);
    /// 1 when a project is loaded: only then may the cloud switch projects and play scenes.
    void SetPrjLoadState(int state);

    /// Always false: nothing is read through the controller.
    bool Read(SOperation operation);
    /// Hands a request to the sender of its type, which answers on the channels of its source flags.
    /// Returns what the sender returns, and false when no sender has this type.
    bool Write(SOperation operation);
    /// The operation that answers a command which the host received through CResultModel: hand it to Write.
    /// The app and the FP client get their request back with "result" and "errorMsg" in it, central control gets the
    /// text of errorMsg alone, and the cloud gets nothing.
    /// \param command as the host received it
    /// \param result  what became of it; a key of ResultTextMap
    static SOperation MakeAnswer(const SResultData& command, ResultText::Index result);

    void CloudControlConnect();
    void CloudControlLogin(const QString& first, const QString& second, const QString& password);

    // The host's changes to its external control devices, on the controller's thread only: these calls and the scene
    // slots must not overlap, since the devices' channels are not locked. A debug build aborts on another thread.
    /// Once the device is in the host's model.
    void CreateExControlDev(const QUuid& devId);
    /// While the device is still in the model.
    void DelExControlDev(const QUuid& devId);
    /// Once the model has what is new. A device that changes its type is deleted before and created after that instead.
    void UpdateExControlDev(const QUuid& devId);

signals:
    void signalStartPushStream(std::string = std::string());
    void signalStopAppStreamPush();
    void signalCloseSoftWare(bool closeServer);
    void signalRestartSoftware();

private slots:
    void slotSceneStartExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotSceneEndExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotNotifyScenePlay(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotUpdateResourceUsed(const QUuid& resId, bool bFlag);
    void slotUpdateResourceDexumerState(const QUuid& resId, bool bFlag);

private:
    struct SAppAddress {
        std::string ip;
        unsigned short port = 0;
    };

    void CreateMsgSenders();
    void StartAppServer();
    /// Supervises the app that has just logged in, unless the app server is being stopped.
    void StartHeartBeat(const SAppAddress& app);
    void StopHeartBeat();
    /// Where the app is that logged in last.
    SAppAddress LastApp() const;
    /// The same, if that app has been silent for too long.
    std::optional<SAppAddress> SilentApp() const;
    /// The sender under this key, or null. Never changes the table: channels read it.
    IMsgSenderBase* FindSender(int senderType) const;
    IMsgSenderBase* FindDeviceSender() const;
    void SendSceneCommands(const QUuid& sceneGroupId, const QUuid& sceneId, int trigger);
    /// Hands over what the host itself carries out; hasData: what the host is told of the request's body.
    static void ReportToHost(const SOperation& request, bool hasData = false);
    void NotifyApp(int cmdCode, const QJsonObject& event);
    /// The receive function as a callable that does nothing once the controller is being destroyed.
    template <class... Args>
    std::function<void(Args...)> Gated(void (CExternalController::*receive)(Args...));

    void RecvAPPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet);
    void RecvAPPUdpMsg(std::shared_ptr<Comm::ResponsePackage> packet);
    void RecvAPPFtpUploadEndMsg(std::string resourcePath);
    void RecvFPTcpMsg(std::shared_ptr<Comm::ResponsePackage> packet);
    void RecvContralControllerUdpMsg(QJsonObject& message);
    void RecvCloudControlMsg(QJsonObject& message);
    void AnswerHeartBeat(std::uint16_t localPort);
    void LogInApp(const SOperation& request, const std::string& remoteIp, unsigned short remotePort);
    void OnAppConnectionClosed(const std::string& remoteIp);

    void OnNewClientConnect(std::string ip, unsigned short port);
    void OnAppClientDisconnect();
    void AppHeartBeatCheck();

    void ResponPublickey(std::string remoteIp, unsigned short remotePort);
    bool ResponAPPLogin(QJsonObject body, std::string remoteIp, unsigned short remotePort);

    std::shared_ptr<CAPPServerManager> m_appServer;
    std::shared_ptr<CFPClientManager> m_fpClient;
    std::shared_ptr<CCentralControllerManager> m_centralCtrl;
    std::shared_ptr<CCloudControlManager> m_cloudCtrl;
    std::map<int, IMsgSenderBase*> m_senders; ///< read by the channels once m_sendersReady is set
    std::string m_lastAppIp;                  ///< address of the app that last logged in; with its port under m_mutex
    unsigned short m_lastAppPort = 0;
    bool m_appLoggedIn = false;               ///< that app has not closed since; under m_mutex
    std::atomic<bool> m_appConnected{false};  ///< an app has connected or logged in since the last logout
    std::unique_ptr<CTimer> m_heartBeatTimer; ///< made at the first login, under m_heartBeatMutex
    mutable std::mutex m_mutex;
    std::atomic<std::int32_t> m_heartBeatCount{0}; ///< seconds since the app's last heartbeat or its login
    std::atomic<int> m_prjLoadState{1};

    std::unique_ptr<IPause> m_heartBeatPause;
    std::mutex m_heartBeatMutex; ///< one start or stop of the supervision at a time; its check never takes it
    std::atomic<bool> m_heartBeatStopped{false}; ///< from a stop of the app server until its next start
    std::shared_ptr<CCallGate> m_gate; ///< shared with the channels' callbacks, which may outlive the controller
    /// One login or logout at a time, including its signals, its report to the host and its replies, so that a stop is
    /// signalled before the next start. No public operation takes it: a slot that runs meanwhile may call them, and may
    /// block. Recursive, since sending to a displaced app may report its closed connection on the same thread.
    std::recursive_mutex m_loginMutex;
    std::atomic<bool> m_sendersReady{false};
};

extern "C" {
/// Creates the one controller; a second call keeps the first. It is not started: call its Init.
EXTERNALCONTROLLER_EXPORT void InitExternalController();
/// The controller, or null before InitExternalController and after UninitExternalController.
EXTERNALCONTROLLER_EXPORT CExternalController* GetExternalController();
EXTERNALCONTROLLER_EXPORT void StopExternalController();
EXTERNALCONTROLLER_EXPORT void UninitExternalController();
}
