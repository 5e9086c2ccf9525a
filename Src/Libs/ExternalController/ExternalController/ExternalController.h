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
struct SHeartBeatTestAccess;
struct SResultData;

namespace Comm {
struct ResponsePackage;
}
namespace ResultText {
enum Index : int;
}

/// The controller: owns the channels to the remote controllers and the senders that answer their requests.
///
/// The host calls InitExternalController, Init, then the operations that it needs, then StopExternalController and
/// UninitExternalController. It makes all these calls on one thread, the controller's thread, on which the slots also
/// run; only Write may be called from any thread. Requests from a channel are handled on the channel's threads. A
/// signal is emitted on the thread of the request that caused it. The signals of logins and logouts are emitted one
/// after the other, in the order of the logins and logouts. No operation throws.
class EXTERNALCONTROLLER_EXPORT CExternalController : public QObject {
    Q_OBJECT

public:
    CExternalController();
    ~CExternalController() override;

    /// Creates all channels and starts the FP and the central-control channel; starts the app server and the cloud
    /// connection if the software settings switch them on. Then creates the senders and calls CreateConnection.
    /// Call it once.
    void Init();
    /// Stops the app server and the supervision of the app's heartbeat; the other channels continue.
    /// Waits for callbacks of the app server to return, so it must not be called from a channel's callback.
    void Stop();
    /// Connects the signals of the host's play controller and resource model to the controller's slots.
    /// Called by Init; a second call would connect the signals twice.
    void CreateConnection();
    /// Starts or stops the app server at run time, whatever the software settings say. Call it after Init.
    /// Stopping waits for callbacks of the app server to return, so it must not be called from a channel's callback.
    void AppServerSupport(bool on);
    /// Sets the folder below which later FTP uploads are stored. Does nothing before Init.
    void ModifyAppResSavePath(const QString& path);
    /// Sets the shared folder whose files the app can list. Does nothing before Init.
    void ModifyAppSharedPath(const QString& path);
    /// Sets whether a project is loaded.
    ///
    /// \param state 1 if a project is loaded, which is the initial value. With any other value, the cloud's requests to
    ///              switch the project or to play a scene are ignored.
    void SetPrjLoadState(int state);

    /// Always returns false: reading through the controller is not supported.
    bool Read(SOperation operation);
    /// Passes a request to the sender of its type, which replies on the channels that the source flags select.
    /// May be called from any thread after Init; the request is handled on the calling thread.
    ///
    /// \return the result of the sender, or false if no sender has this type
    bool Write(SOperation operation);
    /// Makes the operation that answers a command which the host has received through CResultModel. Pass it to Write.
    /// The app and the FP controller get their request back with "result" and "errorMsg" added, central control gets
    /// only the text of errorMsg, and the cloud gets no reply.
    ///
    /// \param command the command as the host received it
    /// \param result  the result of the command: a key of ResultTextMap
    static SOperation MakeAnswer(const SResultData& command, ResultText::Index result);

    /// Connects to the cloud with the login data of the software settings, or closes the connection if the settings
    /// switch the cloud off or lack login data. Call it after these settings have changed. Does nothing before Init.
    void CloudControlConnect();
    /// Checks login data with the cloud service, without changing the current connection. Does nothing before Init.
    ///
    /// \param first, second the two login texts, passed to the service unchanged
    /// \param password      the password in plain text
    void CloudControlLogin(const QString& first, const QString& second, const QString& password);

    // Changes of the host's external control devices. Call these functions on the controller's thread only: they and
    // the scene slots use the devices' channels without a lock. A debug build aborts on any other thread.
    /// Opens the channel of a device. Call it after the device has been added to the host's model.
    void CreateExControlDev(const QUuid& devId);
    /// Closes the channel of a device. Call it while the device is still in the model.
    void DelExControlDev(const QUuid& devId);
    /// Opens the channel of a device again. Call it after the device has been changed in the model. If the type of the
    /// device changes, call DelExControlDev before the change and CreateExControlDev after it instead.
    void UpdateExControlDev(const QUuid& devId);

signals:
    /// An app has logged in; the host starts to stream for it. The text is always empty. Emitted twice if the app
    /// takes over the login of another one.
    void signalStartPushStream(std::string = std::string());
    /// The app that was logged in has disconnected; the host stops streaming for it.
    void signalStopAppStreamPush();
    /// A remote requested that the host ends.
    ///
    /// \param closeServer true if the machine is to be shut down, false if only the program is to be closed
    void signalCloseSoftWare(bool closeServer);
    /// The cloud requested that the host restarts.
    void signalRestartSoftware();

private slots:
    void slotSceneStartExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotSceneEndExControlCmd(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotNotifyScenePlay(const QUuid& sceneGroupId, const QUuid& sceneId);
    void slotUpdateResourceUsed(const QUuid& resId, bool bFlag);
    void slotUpdateResourceDexumerState(const QUuid& resId, bool bFlag);

private:
    /// Replaces m_heartBeatPause before Init, so that a test controls the time of the heartbeat check.
    friend struct SHeartBeatTestAccess;

    struct SAppAddress {
        std::string ip;
        unsigned short port = 0;
    };

    void CreateMsgSenders();
    void StartAppServer();
    /// Supervises the app that has just logged in, unless the app server is being stopped.
    void StartHeartBeat(const SAppAddress& app);
    void StopHeartBeat();
    /// The address of the app that logged in last.
    SAppAddress LastApp() const;
    /// The address of that app if it is still logged in and its heartbeat is overdue.
    std::optional<SAppAddress> SilentApp() const;
    /// The sender with this key, or null. Must not change the table: the channels' threads read it without a lock.
    IMsgSenderBase* FindSender(int senderType) const;
    /// The sender for external control devices, or null. On the controller's thread only.
    IMsgSenderBase* FindDeviceSender() const;
    void SendSceneCommands(const QUuid& sceneGroupId, const QUuid& sceneId, int trigger);
    /// Passes a request that the host executes, or is notified of, to CResultModel.
    ///
    /// \param hasData SResultData::hasData: true if the app or the FP controller sent an envelope with a JSON body that
    ///                is not empty. Central control and the cloud send no envelopes: their whole message is the body,
    ///                so the flag carries no information and hosts expect false. The notices that the module itself
    ///                makes (the end of an upload, a closed app connection) pass false too.
    static void ReportToHost(const SOperation& request, bool hasData = false);
    void NotifyApp(int cmdCode, const QJsonObject& event);
    /// Makes a callable that calls the receive function until the controller is being destroyed, and then does nothing.
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

    // The members are shared by these threads:
    //   controller  the thread that calls Init, Stop, AppServerSupport and the destructor
    //   app         the threads of the app server
    //   check       the thread of m_heartBeatTimer, which runs AppHeartBeatCheck
    //   FP, central control, cloud  the threads of these channels
    // The destructor first closes m_gate, after which no callback of a channel runs, and then ends the check.

    // Channels. No lock: Init sets each one before it starts the channels whose threads use it, and only the destructor
    // resets it. After Init every thread may read the pointers; the channels lock their own state.
    std::shared_ptr<CAPPServerManager> m_appServer;
    std::shared_ptr<CFPClientManager> m_fpClient;
    std::shared_ptr<CCentralControllerManager> m_centralCtrl;
    std::shared_ptr<CCloudControlManager> m_cloudCtrl;

    /// The senders by their keys, owned; the stage sender has two keys. No lock: Init fills the table on the controller
    /// thread and then sets m_sendersReady (release); every other thread reads the table only after it has seen
    /// m_sendersReady set (acquire). Only the destructor changes it again.
    std::map<int, IMsgSenderBase*> m_senders;

    // The app that logged in last. Guarded by m_mutex: written and read by app, read by check.
    std::string m_lastAppIp;
    unsigned short m_lastAppPort = 0;
    bool m_appLoggedIn = false; ///< its connection has not closed since the login

    /// Whether an app has connected or logged in since the last logout; ends AppHeartBeatCheck when false. Atomic:
    /// written by app and controller, read by check.
    std::atomic<bool> m_appConnected{false};
    /// Created at the first login. Guarded by m_heartBeatMutex: used by app (start) and controller (stop).
    std::unique_ptr<CTimer> m_heartBeatTimer;
    /// Guards m_lastAppIp, m_lastAppPort and m_appLoggedIn. Held for assignments and copies only.
    mutable std::mutex m_mutex;
    /// Seconds since the last heartbeat or the login of the app. Atomic: reset by app and check, incremented and read
    /// by check. A login resets it with m_mutex locked, together with the address that it belongs to.
    std::atomic<std::int32_t> m_heartBeatCount{0};
    /// 1 if a project is loaded. Atomic: written by controller, read by cloud.
    std::atomic<int> m_prjLoadState{1};

    /// The wait between two checks. No lock: not replaced after Init. Check waits; app and controller wake it.
    std::unique_ptr<IPause> m_heartBeatPause;
    /// Guards m_heartBeatTimer: app and controller start and stop the timer one at a time. Check must not lock it,
    /// because stopping the timer waits for the check to end.
    std::mutex m_heartBeatMutex;
    /// True from a stop of the app server until its next start. Atomic: written by controller, read by app and check.
    std::atomic<bool> m_heartBeatStopped{false};
    /// Rejects callbacks once the controller is being destroyed. No lock: set by the constructor only, and shared with
    /// the channels' callbacks, which may outlive the controller.
    std::shared_ptr<CCallGate> m_gate;
    /// Held by app during one login or logout, including its signals, its report to the host and its replies, so that
    /// the stop signal of one app precedes the start signal of the next. No public operation locks it: a slot that runs
    /// during a login may call every public operation, and may block. Recursive, because sending to a displaced app may
    /// report its closed connection on the same thread.
    std::recursive_mutex m_loginMutex;
    /// Set when m_senders is complete. Atomic: written by controller, read by every thread.
    std::atomic<bool> m_sendersReady{false};
};

extern "C" {
/// Creates the controller without starting it: call CExternalController::Init next. Does nothing if it exists already.
EXTERNALCONTROLLER_EXPORT void InitExternalController();
/// Returns the controller, or null before InitExternalController and after UninitExternalController.
/// The module owns it.
EXTERNALCONTROLLER_EXPORT CExternalController* GetExternalController();
/// Calls CExternalController::Stop if the controller exists.
EXTERNALCONTROLLER_EXPORT void StopExternalController();
/// Destroys the controller if it exists. Waits for callbacks of the channels to return, so it must not be called from
/// one; afterwards no callback runs and no signal is emitted.
EXTERNALCONTROLLER_EXPORT void UninitExternalController();
}
